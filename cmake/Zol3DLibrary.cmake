# The one shared library. Sources and public headers are collected per
# subsystem folder; private headers live in a "detail" subfolder and are not
# installed.
set(ZOL3D_SUBSYSTEMS
  metrology/core metrology/shapes metrology/data metrology/fileio
  metrology/search metrology/fit metrology/registration metrology/mesh
  metrology/calibration metrology/viewer
  adapter
  template/image template/calibration template/geometry)

set(ZOL3D_SOURCES)
set(ZOL3D_PUBLIC_HEADERS)
set(ZOL3D_INCLUDE_DIRS)
foreach(dir IN LISTS ZOL3D_SUBSYSTEMS)
  file(GLOB _sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${dir}/*.cpp"
                                       "${PROJECT_SOURCE_DIR}/${dir}/detail/*.cpp")
  file(GLOB _headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${dir}/*.h")
  list(APPEND ZOL3D_SOURCES ${_sources})
  list(APPEND ZOL3D_PUBLIC_HEADERS ${_headers})
  list(APPEND ZOL3D_INCLUDE_DIRS "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/${dir}>")
endforeach()
list(SORT ZOL3D_PUBLIC_HEADERS)

# Umbrella header: every public header that exists.
set(_umbrella_includes "")
foreach(h IN LISTS ZOL3D_PUBLIC_HEADERS)
  get_filename_component(_name "${h}" NAME)
  string(APPEND _umbrella_includes "#include \"${_name}\"\n")
endforeach()
set(ZOL3D_UMBRELLA "${PROJECT_BINARY_DIR}/include/Zol3DUtil/Zol3DUtil.h")
configure_file("${PROJECT_SOURCE_DIR}/cmake/Zol3DUtil.h.in" "${ZOL3D_UMBRELLA}" @ONLY)

add_library(Zol3DUtil SHARED ${ZOL3D_SOURCES})
add_library(Zol3DUtil::Zol3DUtil ALIAS Zol3DUtil)
set_target_properties(Zol3DUtil PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  EXPORT_NAME Zol3DUtil)
target_compile_definitions(Zol3DUtil PRIVATE ZOL3DUTIL_BUILDING)
target_compile_features(Zol3DUtil PUBLIC cxx_std_17)
target_include_directories(Zol3DUtil
  PUBLIC
    ${ZOL3D_INCLUDE_DIRS}
    "$<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/Zol3DUtil>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>"
  PRIVATE
    "${PROJECT_SOURCE_DIR}")
target_link_libraries(Zol3DUtil PUBLIC OpenMP::OpenMP_CXX Threads::Threads PRIVATE ${ZOL3D_PRIVATE_LIBRARIES})
if(ZOL3D_SANITIZE)
  # Consumers of a sanitized library must link the sanitizer runtimes too.
  target_link_options(Zol3DUtil INTERFACE ${ZOL3D_SANITIZER_FLAGS})
endif()

# Installation: flat public headers, the umbrella, the CMake package, pkg-config.
include(CMakePackageConfigHelpers)
install(TARGETS Zol3DUtil EXPORT Zol3DUtilTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${ZOL3D_PUBLIC_HEADERS} "${ZOL3D_UMBRELLA}"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Zol3DUtil)
set(ZOL3D_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Zol3DUtil)
install(EXPORT Zol3DUtilTargets NAMESPACE Zol3DUtil:: DESTINATION ${ZOL3D_CMAKE_DIR})

set(_find_dependencies "")
foreach(dep IN LISTS ZOL3D_PUBLIC_DEPENDENCIES)
  string(APPEND _find_dependencies "find_dependency(${dep})\n")
endforeach()
set(ZOL3D_FIND_DEPENDENCIES "${_find_dependencies}")
configure_package_config_file(cmake/Zol3DUtilConfig.cmake.in
  "${PROJECT_BINARY_DIR}/Zol3DUtilConfig.cmake"
  INSTALL_DESTINATION ${ZOL3D_CMAKE_DIR})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/Zol3DUtilConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/Zol3DUtilConfig.cmake"
              "${PROJECT_BINARY_DIR}/Zol3DUtilConfigVersion.cmake"
  DESTINATION ${ZOL3D_CMAKE_DIR})

configure_file(cmake/Zol3DUtil.pc.in "${PROJECT_BINARY_DIR}/Zol3DUtil.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/Zol3DUtil.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
