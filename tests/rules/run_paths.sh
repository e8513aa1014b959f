#!/bin/sh
# Fails if a program or library in the build directory $2, or installed from it to $3 with the CMake $1, has a run path with
# an empty entry: the loader takes it as the current directory, where anybody may have put a library.
set -eu
rm -rf "$3"
"$1" --install "$2" --prefix "$3" >/dev/null
paths=$(find "$2" -type f \( -perm -u+x -o -name '*.so*' \) -exec readelf -d {} + 2>/dev/null | grep -E 'R(UN)?PATH') ||
    { echo 'no run paths found'; exit 1; }
if echo "$paths" | grep -E '\[:|::|:\]|\[\]'; then exit 1; fi
