#!/bin/sh
# Fails unless the compiler warns about a trace whose arguments do not match its format, and about no other:
# format_checked.sh COMPILER SOURCES GENERATED SCRATCH.
set -eu
compiler=$1 sources=$2 generated=$3 client=$4/format_checked.cpp

compiles() {
    printf '#include "console/console.h"\nint main() { return KQCONSOLETRACE(%s); }\n' "$1" >"$client"
    said=$("$compiler" -std=c++17 -Werror=format -fsyntax-only -I "$sources" -I "$generated" "$client" 2>&1)
}

compiles '"%d %s\\n", 1, "one"' || { echo "$said"; exit 1; }
if compiles '"%d %s\\n", "one", 1'; then
    echo "no warning"
    exit 1
fi
echo "$said" | grep -q 'Werror.*format' || { echo "$said"; exit 1; }
