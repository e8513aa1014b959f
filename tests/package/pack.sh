#!/bin/sh
# Builds the library as for a distribution and makes its packages of one kind: pack.sh deb|rpm SOURCE_DIR BUILD_DIR COMPILER
set -eu
case $1 in
deb) generator=DEB libdir=lib/$(dpkg-architecture -q DEB_HOST_MULTIARCH) ;;
rpm) generator=RPM libdir=lib64 ;;
*) exit 2 ;;
esac
rm -rf "$3"
umask 022 # it reaches the directories in the packages
cmake -S "$2" -B "$3" -DCMAKE_CXX_COMPILER="$4" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_INSTALL_LIBDIR="$libdir" -DKQSUPPORT_BUILD_TESTS=OFF -DKQSUPPORT_BUILD_EXAMPLES=OFF
cmake --build "$3"
cd "$3"
cpack -G "$generator"
