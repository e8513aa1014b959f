#!/bin/sh
# Installs the packages of one kind into a scratch root with the real tool, and builds and runs a client there:
# packages.sh deb|rpm SOURCE_DIR PACKAGES_DIR SCRATCH_DIR COMPILER SOVERSION
set -eu
kind=$1 source=$2 packages=$3 scratch=$4 compiler=$5 soversion=$6

if [ "$(id -u)" -ne 0 ]; then
    echo "only root may install packages, into whatever root"
    [ -n "${CI-}" ] && exit 1
    exit 77
fi
rm -rf "$scratch"
mkdir -p "$scratch/root"
root=$scratch/root
cd "$packages"

need() { grep -Eq "$1" || { echo "missing: $1"; exit 1; }; }
version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' "$source/CMakeLists.txt")
runtime=libkqsupport$soversion
case $kind in
deb)
    dpkg-deb --field libkqsupport-dev_*.deb Depends | need "$runtime \\(= $version\\), qt6-base-dev \\(>= 6.2\\)"
    for library in libc6 libqt6core6 libqt6xml6 'libstdc\+\+6'; do
        dpkg-deb --field "$runtime"_*.deb Depends | need "$library \\(>= "
    done
    mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
    touch "$root/var/lib/dpkg/status" "$root/var/lib/dpkg/available"
    # Qt, the C library and the shell are outside the scratch root.
    dpkg --root="$root" --force-depends --force-script-chrootless --install ./*.deb
    # From this line the packaging of a client takes its dependency.
    need "^libkqsupport $soversion $runtime \\(>= $version\\)" <"$root/var/lib/dpkg/info/$runtime.shlibs"
    ;;
rpm)
    rpm -qp --requires libkqsupport-devel-*.rpm | need "^cmake\(Qt6Core\) >= 6.2"
    rpm -qp --requires libkqsupport-devel-*.rpm | need "^$runtime(\(x86-64\))? = $version"
    rpm -qp --requires "$runtime"-*.rpm | need '^libQt6Xml.so.6'
    rpm -qp --provides "$runtime"-*.rpm | need "^libkqsupport.so.$soversion\(\)\(64bit\)"
    rpm --root "$root" --nodeps --install ./*.rpm
    [ -e "$root/usr/lib64/libkqsupport.so.$soversion" ] || { find "$root"; exit 1; }
    ;;
*) exit 2 ;;
esac
# As other users see it.
[ -z "$(find "$root/usr" -type d ! -perm 0755)" ] || { find "$root/usr" -type d ! -perm 755 -ls; exit 1; }
library=$(find "$root" -name "libkqsupport.so.$version")
sh "$source/tests/rules/hardening.sh" "$library"
sh "$source/tests/rules/symbols.sh" "$library" "$source/tests/rules/symbols.txt"
[ "$(find "$root" -name 'libkqsupport.so*' | wc -l)" -eq 3 ] || { find "$root"; exit 1; }

# CMake looks into lib64 on the systems that have it only.
kqsupport_DIR=$(dirname "$(find "$root" -name kqsupport-config.cmake)")
export kqsupport_DIR
exec sh "$source/tests/package/stranger.sh" find_package "$source" "$root/usr" "$scratch/stranger" "$compiler"
