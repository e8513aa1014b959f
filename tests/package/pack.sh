#!/bin/sh
# Builds the library as for a distribution and makes its packages, .deb and .rpm: pack.sh SOURCE_DIR BUILD_DIR COMPILER
set -eu
rm -rf "$2"
cmake -S "$1" -B "$2" -DCMAKE_CXX_COMPILER="$3" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DKQSUPPORT_BUILD_TESTS=OFF -DKQSUPPORT_BUILD_EXAMPLES=OFF
cmake --build "$2"
cd "$2"
cpack -G 'DEB;RPM'
