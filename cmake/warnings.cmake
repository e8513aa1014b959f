# Gives one of our own targets the warnings we keep clean with GCC and Clang. A project that builds us as a dependency
# sees them at most as warnings: only our presets turn them into errors.
function(kqsupport_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  if(KQSUPPORT_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
