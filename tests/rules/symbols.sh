#!/bin/sh
# Compares the library's exported symbols with the list, and checks which symbol the program must define and which
# libraries it needs: symbols.sh LIBRARY LIST.
set -eu
LC_ALL=C
export LC_ALL

# Shortens std::string and lists each constructor and destructor once.
nm -DC --defined-only "$1" | cut -d' ' -f3- |
    sed -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' \
        -e 's/std::vector<std::string, std::allocator<std::string > >/std::vector<std::string>/g' \
        -e 's/std::vector<std::string, std::allocator<std::string> >/std::vector<std::string>/g' |
    sort -u | diff -u "$2" -

# Undefined symbols without a version come neither from Qt nor from the system. Weak references are optional.
left=$(nm -D --undefined-only "$1" | awk '$1 == "U" && $2 !~ /@/ { print $2 }')
[ "$left" = g_kq_verbose ] || { echo "the program must define: $left"; exit 1; }

# The compiler decides which runtime libraries are needed.
needed=$(readelf -dW "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
    grep -Ev '^(libstdc\+\+|libgcc_s|libm|libc|ld-linux.*)\.so\.[0-9]+$' | sort | tr '\n' ' ')
[ "$needed" = 'libQt6Core.so.6 libQt6Xml.so.6 ' ] || { echo "needs $needed"; exit 1; }
