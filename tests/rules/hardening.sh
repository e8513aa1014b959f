#!/bin/sh
# Fails if the library or program at $1 lacks a protection that distributions use.
set -eu
need() {
    readelf -W "$1" "$library" | grep -Eq "$2" || { echo "missing: $3"; exit 1; }
}
library=$1
need -l 'GNU_RELRO' 'read-only relocations (RELRO)'
need -d 'BIND_NOW|FLAGS_1.*NOW' 'immediate binding'
need -l 'GNU_STACK.* RW ' 'a stack that is not executable'
need -s '__stack_chk_fail' 'the stack protector'
