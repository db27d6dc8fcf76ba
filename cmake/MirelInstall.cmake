# What is installed, and the Debian packages made of it: libmirel0 (libraries), libmirel-draw0 (what draws, which needs
# more), libmirel-draw-gl0 (what draws with OpenGL), libmirel-dev and libmirel-draw-dev (headers, CMake and pkg-config
# files of what does not draw and of what does), mirel (the program), mirel-viewer (the desktop viewer) and python3-mirel (the Python
# package).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(MIREL_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/mirel)
set(MIREL_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/Mirel)

# mirel_install_libraries(EXPORT RUNTIME DEV TARGETS...): libraries into the component RUNTIME, what a program is built with into
# the component DEV.
function(mirel_install_libraries export runtime dev)
  install(
    TARGETS ${ARGN}
    EXPORT ${export}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${runtime} NAMELINK_COMPONENT ${dev}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${dev}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${runtime}
    FILE_SET HEADERS DESTINATION ${MIREL_INSTALL_INCLUDEDIR} COMPONENT ${dev})
  install(EXPORT ${export} NAMESPACE Mirel:: DESTINATION ${MIREL_INSTALL_CMAKEDIR} COMPONENT ${dev})
endfunction()
mirel_install_libraries(MirelTargets runtime dev MirelHost MirelViewerKernel)
mirel_install_libraries(MirelDrawTargets draw drawdev MirelDraw)
mirel_install_libraries(MirelDrawGLTargets drawgl drawdev MirelDrawGL)

configure_package_config_file(cmake/MirelConfig.cmake.in ${PROJECT_BINARY_DIR}/MirelConfig.cmake
                              INSTALL_DESTINATION ${MIREL_INSTALL_CMAKEDIR})
# Until version 1 a change of the minor version may break what builds on it.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/MirelConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/MirelConfig.cmake ${PROJECT_BINARY_DIR}/MirelConfigVersion.cmake
              cmake/MirelInterfaceDependencies.cmake
        DESTINATION ${MIREL_INSTALL_CMAKEDIR} COMPONENT dev)

# The prefix relative to the .pc file, so that an installed tree can be moved.
file(RELATIVE_PATH MIREL_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" MIREL_PC_PREFIX "\${pcfiledir}/${MIREL_PC_PREFIX}")
foreach(module IN ITEMS mirel-host mirel-viewer-kernel mirel-draw mirel-draw-gl)
  configure_file(cmake/${module}.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
  set(component dev)
  if(module MATCHES "^mirel-draw")
    set(component drawdev)
  endif()
  install(FILES ${PROJECT_BINARY_DIR}/${module}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${component})
endforeach()

if(TARGET mirel)
  # The program finds the libraries beside it, wherever the installed tree lies.
  file(RELATIVE_PATH libraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(mirel PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
  set_target_properties(MirelReadSTEP MirelReadIGES MirelWriteSTEP MirelPicture MirelPreview PROPERTIES INSTALL_RPATH "$ORIGIN/..")
  install(TARGETS MirelReadSTEP MirelReadIGES MirelWriteSTEP MirelPreview LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/mirel COMPONENT program)
  install(TARGETS MirelPicture LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/mirel COMPONENT draw)
  # Thumbnails of model folders' index files in the file managers of free desktops.
  install(FILES Programs/mirel/Picture/mirel.thumbnailer DESTINATION ${CMAKE_INSTALL_DATADIR}/thumbnailers
          COMPONENT program)
  install(FILES Programs/mirel/Picture/mirel-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages
          RENAME mirel.xml COMPONENT program)
  install(TARGETS mirel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
endif()
if(TARGET mirel-viewer)
  set_target_properties(mirel-viewer PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
  install(TARGETS mirel-viewer RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT viewer)
  install(FILES Programs/mirel-viewer/Desktop/mirel-viewer.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications
          COMPONENT viewer)
  install(FILES Programs/mirel-viewer/Desktop/mirel-viewer.svg
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT viewer)
  install(FILES Programs/mirel-viewer/Desktop/mirel-viewer.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT viewer)
  install(FILES docs/viewer.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/mirel-viewer COMPONENT viewer)
  install(DIRECTORY docs/viewer DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/mirel-viewer COMPONENT viewer)
endif()
if(TARGET MirelPython)
  install(FILES docs/python.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/python3-mirel COMPONENT python)
endif()
set_target_properties(MirelViewerKernel MirelDraw MirelDrawGL PROPERTIES INSTALL_RPATH "$ORIGIN")
install(FILES README.md CHANGELOG.md docs/format.md docs/guide.md docs/web.md docs/web-page.png DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/mirel
        COMPONENT program)
install(FILES docs/developer.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libmirel-dev COMPONENT dev)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "the Mirel maintainers")
set(CPACK_PACKAGE_CONTACT "the Mirel maintainers <maintainers@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENTS_ALL runtime draw drawgl dev drawdev program)
if(TARGET mirel-viewer)
  list(APPEND CPACK_COMPONENTS_ALL viewer)
endif()
if(TARGET MirelPython)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libmirel${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Light-weight CAD assemblies: shared libraries")
set(CPACK_DEBIAN_DRAW_PACKAGE_NAME libmirel-draw${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_DRAW_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_DRAW_DESCRIPTION "Light-weight CAD assemblies: drawing")
set(CPACK_COMPONENT_DRAW_DEPENDS runtime)
# Pango brings a font for Latin, Greek and Cyrillic letters; this one has what else names on drawing sheets are written in.
set(CPACK_DEBIAN_DRAW_PACKAGE_RECOMMENDS fonts-droid-fallback)
set(CPACK_DEBIAN_DRAWGL_PACKAGE_NAME libmirel-draw-gl${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_DRAWGL_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_DRAWGL_DESCRIPTION "Light-weight CAD assemblies: drawing with OpenGL")
set(CPACK_COMPONENT_DRAWGL_DEPENDS draw runtime)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libmirel-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
# libocct-visualization-dev has a header that the modelling headers include.
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "libocct-modeling-data-dev, libocct-foundation-dev, libocct-visualization-dev, libglm-dev, rapidjson-dev")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Light-weight CAD assemblies: headers, CMake and pkg-config files")
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_DEBIAN_DRAWDEV_PACKAGE_NAME libmirel-draw-dev)
set(CPACK_DEBIAN_DRAWDEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DRAWDEV_DESCRIPTION "Light-weight CAD assemblies: drawing, headers, CMake and pkg-config files")
set(CPACK_COMPONENT_DRAWDEV_DEPENDS draw drawgl dev)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME mirel)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION graphics)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
    "Light-weight CAD assemblies: program\n Saves STEP and IGES assemblies as model folders and opens them again.")
set(CPACK_COMPONENT_PROGRAM_DEPENDS runtime)
# Only `mirel picture` needs it, and says so.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS libmirel-draw${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_VIEWER_PACKAGE_NAME mirel-viewer)
set(CPACK_DEBIAN_VIEWER_PACKAGE_SECTION graphics)
set(CPACK_COMPONENT_VIEWER_DESCRIPTION
    "Light-weight CAD assemblies: desktop viewer\n Shows model folders, STEP, IGES and BRep files.")
# It has STEP, IGES and BRep files converted by the program.
set(CPACK_COMPONENT_VIEWER_DEPENDS runtime draw drawgl program)
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-mirel)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
# The modules are those of one version of the interpreter.
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${MIREL_PYTHON_DEPENDS}, python3-numpy")
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
    "Light-weight CAD assemblies: Python package\n Opens model folders, STEP, IGES and BRep files as objects and arrays.")
# It has what takes a process of its own done by the program.
set(CPACK_COMPONENT_PYTHON_DEPENDS runtime draw program)
include(CPack)
