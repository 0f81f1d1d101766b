# Installs the built library into a scratch prefix, then configures, builds
# and runs the consumer project against that prefix alone.
set(prefix "${ZOL3D_CONSUMER_WORK}/prefix")
file(REMOVE_RECURSE "${ZOL3D_CONSUMER_WORK}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install "${ZOL3D_BINARY_DIR}" --prefix "${prefix}")
foreach(f include/Zol3DUtil/Zol3DUtil.h lib/pkgconfig/Zol3DUtil.pc)
  if(NOT EXISTS "${prefix}/${f}")
    message(FATAL_ERROR "not installed: ${f}")
  endif()
endforeach()
run(${CMAKE_COMMAND} -S "${ZOL3D_CONSUMER_SOURCE}" -B "${ZOL3D_CONSUMER_WORK}/build"
    -G "${ZOL3D_GENERATOR}" -DCMAKE_CXX_COMPILER=${ZOL3D_CXX_COMPILER}
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build "${ZOL3D_CONSUMER_WORK}/build")
run("${ZOL3D_CONSUMER_WORK}/build/consumer")
