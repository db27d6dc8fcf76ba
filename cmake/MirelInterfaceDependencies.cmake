# What the installed headers and libraries ask of a project that uses them: the OpenCASCADE headers and toolkits, glm and
# rapidjson. Included by our own build and, installed, by find_package(Mirel). Names what is missing in
# MIREL_MISSING_DEPENDENCIES.
#
# OpenCASCADE's exported targets name no include folder, and Debian's package configuration asks for every toolkit's
# development package. The headers and the few toolkits that are linked are all that is needed.
set(MIREL_MISSING_DEPENDENCIES)

find_path(MIREL_OPENCASCADE_INCLUDE_DIR Standard_Version.hxx PATH_SUFFIXES opencascade)
find_path(MIREL_GLM_INCLUDE_DIR glm/glm.hpp)
find_path(MIREL_RAPIDJSON_INCLUDE_DIR rapidjson/document.h)
foreach(name IN ITEMS OPENCASCADE GLM RAPIDJSON)
  mark_as_advanced(MIREL_${name}_INCLUDE_DIR)
  if(NOT MIREL_${name}_INCLUDE_DIR)
    list(APPEND MIREL_MISSING_DEPENDENCIES "headers of ${name}")
  endif()
endforeach()

foreach(name IN ITEMS GLM RAPIDJSON)
  string(TOLOWER ${name} target)
  if(NOT TARGET Mirel::${target} AND MIREL_${name}_INCLUDE_DIR)
    add_library(Mirel::${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(Mirel::${target} SYSTEM INTERFACE ${MIREL_${name}_INCLUDE_DIR})
  endif()
endforeach()

# Adds the target OpenCASCADE::<toolkit> for each toolkit named.
function(mirel_opencascade_toolkits)
  foreach(toolkit IN LISTS ARGN)
    if(TARGET OpenCASCADE::${toolkit})
      continue()
    endif()
    find_library(MIREL_${toolkit}_LIBRARY ${toolkit})
    mark_as_advanced(MIREL_${toolkit}_LIBRARY)
    if(NOT MIREL_${toolkit}_LIBRARY)
      set(MIREL_MISSING_DEPENDENCIES ${MIREL_MISSING_DEPENDENCIES} "the library ${toolkit}" PARENT_SCOPE)
      continue()
    endif()
    add_library(OpenCASCADE::${toolkit} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(
      OpenCASCADE::${toolkit} PROPERTIES IMPORTED_LOCATION "${MIREL_${toolkit}_LIBRARY}"
                                         INTERFACE_INCLUDE_DIRECTORIES "${MIREL_OPENCASCADE_INCLUDE_DIR}")
  endforeach()
endfunction()

mirel_opencascade_toolkits(TKernel TKG3d TKBRep)
