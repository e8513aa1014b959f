# Hardens a library as distributions do: overflows of stack buffers end the process, tables of the dynamic linker are
# read-only before the first call, and no stack is executable.
function(kqsupport_harden target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
  target_link_options(${target} PRIVATE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endfunction()
