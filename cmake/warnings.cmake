# Gives one of our own targets the warnings that we keep clean with GCC and Clang. They are errors in the presets of CI
# alone: a compiler or a Qt that is newer than ours stops nobody's build.
function(kqsupport_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  # What Qt has deprecated since 6.2 is what we call for as long as 6.2 is supported.
  target_compile_definitions(${target} PRIVATE QT_WARN_DEPRECATED_UP_TO=0x060200)
endfunction()
