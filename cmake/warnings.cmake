# Enables the warnings that our code does not cause with GCC and Clang. They are errors only in the CI presets, so that
# a newer compiler or Qt does not break the build.
function(kqsupport_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  # We support Qt 6.2, so we may call functions that Qt deprecated later.
  target_compile_definitions(${target} PRIVATE QT_WARN_DEPRECATED_UP_TO=0x060200)
endfunction()
