# Dependencies come from Debian packages. Those that public headers or the
# exported target expose are listed in ZOL3D_PUBLIC_DEPENDENCIES so that the
# installed package finds them again for its consumers.
find_package(OpenMP REQUIRED COMPONENTS CXX)
find_package(Threads REQUIRED)

set(ZOL3D_PUBLIC_DEPENDENCIES "OpenMP COMPONENTS CXX" "Threads")
