#!/bin/sh
# Fails unless a program without g_kq_verbose fails to link and, if it is not linked with Qt, fails to start:
# host_without_flag.sh COMPILER LIBRARY QT_CORE SCRATCH.
set -eu
compiler=$1 library=$2 qt_core=$3 host=$4/host_without_flag
echo 'int main() {}' >"$host.cpp"

if said=$("$compiler" "$host.cpp" -Wl,--no-as-needed "$library" "$qt_core" -o "$host" 2>&1); then
    echo "it links"
    exit 1
fi
# shellcheck disable=SC2016 # the linker opens its quotation with a backquote
echo "$said" | grep -Eq 'undefined (reference to `|symbol: )g_kq_verbose' || { echo "$said"; exit 1; }

"$compiler" "$host.cpp" -Wl,--no-as-needed,--allow-shlib-undefined "$library" -o "$host" \
    -Xlinker -rpath -Xlinker "$(dirname "$library")"
if said=$("$host" 2>&1); then
    echo "it starts"
    exit 1
fi
echo "$said" | grep -q 'undefined symbol: g_kq_verbose' || { echo "$said"; exit 1; }
