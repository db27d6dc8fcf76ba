# The libraries that the project builds on, all from the system's packages.
find_package(Threads REQUIRED)
find_package(OpenMP REQUIRED COMPONENTS CXX)
find_package(meshoptimizer REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(libdeflate REQUIRED IMPORTED_TARGET GLOBAL libdeflate)

# OpenCASCADE's exported targets name no include folder, and Debian's package configuration asks for every toolkit's
# development package. The headers and the few toolkits that we link are all that we need.
find_path(MIREL_OPENCASCADE_INCLUDE_DIR Standard_Version.hxx PATH_SUFFIXES opencascade REQUIRED)
set(MIREL_OPENCASCADE_LIBRARIES)

# Adds the target OpenCASCADE::<toolkit> for each toolkit named.
function(mirel_opencascade_toolkits)
  foreach(toolkit IN LISTS ARGN)
    if(TARGET OpenCASCADE::${toolkit})
      continue()
    endif()
    find_library(MIREL_${toolkit}_LIBRARY ${toolkit} REQUIRED)
    mark_as_advanced(MIREL_${toolkit}_LIBRARY)
    add_library(OpenCASCADE::${toolkit} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(
      OpenCASCADE::${toolkit} PROPERTIES IMPORTED_LOCATION "${MIREL_${toolkit}_LIBRARY}"
                                         INTERFACE_INCLUDE_DIRECTORIES "${MIREL_OPENCASCADE_INCLUDE_DIR}")
  endforeach()
endfunction()

find_path(MIREL_GLM_INCLUDE_DIR glm/glm.hpp REQUIRED)
find_path(MIREL_RAPIDJSON_INCLUDE_DIR rapidjson/document.h REQUIRED)
