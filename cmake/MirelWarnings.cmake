# The warnings that every target of the project is compiled with; MIREL_WERROR makes them errors.
function(mirel_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /utf-8 $<$<BOOL:${MIREL_WERROR}>:/WX>)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                                             -Wcast-qual -Wformat=2 -Wundef
                                             $<$<BOOL:${MIREL_WERROR}>:-Werror>)
    if(MIREL_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # GCC sees uninitialised values in the standard library's own headers then (<regex> for one).
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
  endif()
endfunction()
