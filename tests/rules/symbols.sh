#!/bin/sh
# Compares the symbols that the library exports with the list, those that it leaves to the host with the one that a
# host defines, and the libraries that it needs with those that it may: symbols.sh LIBRARY LIST.
set -eu
LC_ALL=C
export LC_ALL

# The standard string by its everyday name, and each constructor and destructor once.
nm -DC --defined-only "$1" | cut -d' ' -f3- |
    sed -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' \
        -e 's/std::vector<std::string, std::allocator<std::string > >/std::vector<std::string>/g' \
        -e 's/std::vector<std::string, std::allocator<std::string> >/std::vector<std::string>/g' |
    sort -u | diff -u "$2" -

# All that comes from Qt and the system's runtime libraries has a version, and weak references need not be there.
left=$(nm -D --undefined-only "$1" | awk '$1 == "U" && $2 !~ /@/ { print $2 }')
[ "$left" = g_kq_verbose ] || { echo "left to the host: $left"; exit 1; }

# Which of the system's runtime libraries are named is up to the compiler.
needed=$(readelf -dW "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
    grep -Ev '^(libstdc\+\+|libgcc_s|libm|libc|ld-linux.*)\.so\.[0-9]+$' | sort | tr '\n' ' ')
[ "$needed" = 'libQt6Core.so.6 libQt6Xml.so.6 ' ] || { echo "needs $needed"; exit 1; }
