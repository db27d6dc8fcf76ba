# Builds the package mirel-web into the folder DIST, with the programs NODE and NPM. The modules that it is built with lie in
# Web/node_modules, as node wants them, for all build trees; they are fetched when the lock file has changed.
# The sources being wrong is an error; that npm cannot fetch something, without a network say, is not.
file(MAKE_DIRECTORY ${DIST})
file(SHA256 package-lock.json wanted)
set(stamp node_modules/.mirel-lock)
set(present "")
if(EXISTS ${stamp})
  file(READ ${stamp} present)
endif()
if(NOT present STREQUAL wanted)
  execute_process(
    COMMAND ${NPM} ci --prefer-offline --ignore-scripts --no-audit --no-fund --loglevel=error
    RESULT_VARIABLE failure
    OUTPUT_QUIET)
  if(failure)
    message(WARNING "The web viewer is not built: npm cannot get what Web/package-lock.json names")
    file(TOUCH ${DIST}/built)
    return()
  endif()
  file(WRITE ${stamp} ${wanted})
endif()
foreach(command IN ITEMS "node_modules/typescript/bin/tsc" "build.mjs;${DIST}")
  execute_process(COMMAND ${NODE} ${command} RESULT_VARIABLE failure)
  if(failure)
    message(FATAL_ERROR "The web viewer does not build")
  endif()
endforeach()
file(TOUCH ${DIST}/built)
