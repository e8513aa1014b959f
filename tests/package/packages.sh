#!/bin/sh
# Installs the packages of one kind into a scratch root with the real tool, and builds and runs a client there:
# packages.sh deb|rpm SOURCE_DIR PACKAGES_DIR SCRATCH_DIR COMPILER
set -eu
kind=$1 source=$2 packages=$3 scratch=$4 compiler=$5

if [ "$(id -u)" -ne 0 ]; then
    echo "only root may install packages, into whatever root"
    [ -n "${CI-}" ] && exit 1
    exit 77
fi
rm -rf "$scratch"
mkdir -p "$scratch/root"
root=$scratch/root
cd "$packages"

need() { grep -Eq "$1" || { echo "missing among the dependencies: $1"; exit 1; }; }
case $kind in
deb)
    dpkg-deb --field libkqsupport-dev_*.deb Depends | need 'libkqsupport1 \(= .*\), qt6-base-dev'
    dpkg-deb --field libkqsupport1_*.deb Depends | need 'libqt6core6.*libqt6xml6'
    mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
    touch "$root/var/lib/dpkg/status" "$root/var/lib/dpkg/available"
    # Qt, the C library and the shell are outside the scratch root.
    dpkg --root="$root" --force-depends --force-script-chrootless --install ./*.deb
    ;;
rpm)
    rpm -qp --requires libkqsupport-devel-*.rpm | need '^cmake\(Qt6Core\)'
    rpm -qp --requires libkqsupport1-*.rpm | need '^libQt6Xml.so.6'
    rpm --root "$root" --nodeps --install ./*.rpm
    ;;
*) exit 2 ;;
esac
[ "$(find "$root" -name 'libkqsupport.so*' | wc -l)" -eq 3 ] || { find "$root"; exit 1; }

exec sh "$source/tests/package/stranger.sh" find_package "$source" "$root/usr" "$scratch/stranger" "$compiler"
