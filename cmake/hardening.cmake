# Hardens a target as distributions do: stack protector, full RELRO, and a stack that is not executable.
function(kqsupport_harden target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
  target_link_options(${target} PRIVATE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endfunction()
