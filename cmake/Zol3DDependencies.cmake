# Dependencies come from Debian packages. Those that public headers or the
# exported target expose are listed in ZOL3D_PUBLIC_DEPENDENCIES so that the
# installed package finds them again for its consumers; the others are linked
# privately into the shared library.
find_package(OpenMP REQUIRED COMPONENTS CXX)
find_package(Threads REQUIRED)
find_package(Eigen3 3.3 REQUIRED NO_MODULE)
find_package(liblzf REQUIRED)

# lodepng ships a header and a shared library without CMake files.
find_path(ZOL3D_LODEPNG_INCLUDE_DIR lodepng.h REQUIRED)
find_library(ZOL3D_LODEPNG_LIBRARY lodepng REQUIRED)
add_library(zol3d_lodepng UNKNOWN IMPORTED)
set_target_properties(zol3d_lodepng PROPERTIES
  IMPORTED_LOCATION "${ZOL3D_LODEPNG_LIBRARY}"
  INTERFACE_INCLUDE_DIRECTORIES "${ZOL3D_LODEPNG_INCLUDE_DIR}")

set(ZOL3D_PUBLIC_DEPENDENCIES "OpenMP COMPONENTS CXX" "Threads")
set(ZOL3D_PRIVATE_LIBRARIES Eigen3::Eigen liblzf::liblzf zol3d_lodepng)
