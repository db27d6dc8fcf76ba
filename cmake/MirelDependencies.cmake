# The libraries that the project builds on, all from the system's packages.
find_package(Threads REQUIRED)
find_package(OpenMP REQUIRED COMPONENTS CXX)
find_package(meshoptimizer REQUIRED)
find_package(ZLIB REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(libdeflate REQUIRED IMPORTED_TARGET GLOBAL libdeflate)

include(MirelInterfaceDependencies)
if(MIREL_MISSING_DEPENDENCIES)
  list(JOIN MIREL_MISSING_DEPENDENCIES ", " missing)
  message(FATAL_ERROR "Not found: ${missing}. The packages that the build needs are listed in scripts/packages.txt.")
endif()
