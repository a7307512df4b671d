# Warnings apply to our own targets only, never to consumers or to GoogleTest.
function(keel_target_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow)
  if(KEEL_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
