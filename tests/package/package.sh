#!/bin/sh
# Installs the packages of one kind into a scratch root with the real tool, and builds and runs a client there:
# package.sh deb|rpm SOURCE_DIR PACKAGE_DIR SCRATCH_DIR COMPILER VERSION SOVERSION
set -eu
kind=$1 source=$2 packages=$3 scratch=$4 compiler=$5 version=$6 soversion=$7

skip() {
    printf 'package: Skipped\n%s\n' "$1"
    [ -z "${CI-}" ] || exit 1
    exit 77
}
if [ "$(id -u)" -ne 0 ]; then
    unshare -r true || skip "only root may install packages"
    exec unshare -r sh "$0" "$@"
fi
[ -n "$(find "$packages" -maxdepth 1 -name "*.$kind")" ] || skip "this machine cannot make a .$kind"

rm -rf "$scratch"
mkdir -p "$scratch/root"
root=$scratch/root list=$scratch/list
cd "$packages"

need() { grep -Eqx "$1" "$list" || { echo "missing: $1"; cat "$list"; exit 1; }; }
case $kind in
deb)
    runtime=$(echo libkqsupport"$soversion"_*.deb)
    dpkg-deb --field libkqsupport-dev_*.deb Depends >"$list"
    need "libkqsupport$soversion \(= $version\), qt6-base-dev \(>= 6\.2\)"
    dpkg-deb --field "$runtime" Depends | sed 's/, /\n/g' >"$list"
    for dependency in libc6 libstdc\\+\\+6 'libqt6core6(t64)?' 'libqt6xml6(t64)?'; do
        need "$dependency \(>= [0-9.]+\)"
    done
    dpkg-deb --info "$runtime" shlibs >"$list"
    need "libkqsupport $soversion libkqsupport$soversion \(>= $version\)"
    dpkg-deb --info "$runtime" triggers >"$list"
    need 'activate-noawait ldconfig'
    # With a postrm script, a removed package would stay known to dpkg until it is purged.
    dpkg-deb --ctrl-tarfile "$runtime" | tar -t >"$list"
    if grep -E 'post|pre' "$list"; then
        echo "the package has a maintainer script"
        exit 1
    fi

    dpkg-deb --field kqsupport-tools_*.deb Depends | sed 's/, /\n/g' >"$list"
    need "libkqsupport$soversion \(>= $version\)"
    need 'libqt6core6(t64)? \(>= [0-9.]+\)'

    libdir=lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)
    mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
    touch "$root/var/lib/dpkg/status" "$root/var/lib/dpkg/available"
    # Unpacked only: to configure the packages, dpkg would need their dependencies inside the scratch root.
    PATH=$PATH:/usr/sbin:/sbin dpkg --root="$root" --unpack ./*.deb
    library_mode=644
    for package in "libkqsupport$soversion" libkqsupport-dev kqsupport-tools; do
        zcat "$root/usr/share/doc/$package/changelog.gz" | dpkg-parsechangelog -l - -S Version >"$list"
        need "$version"
    done
    ;;
rpm)
    runtime=$(echo libkqsupport"$soversion"-*.rpm) devel=$(echo libkqsupport-devel-*.rpm)
    tools=$(echo kqsupport-tools-*.rpm)
    rpm -qp --requires "$tools" >"$list"
    need "libkqsupport\.so\.$soversion\(\)\(64bit\)"
    rpm -qp --requires "$devel" >"$list"
    need 'cmake\(Qt6Core\) >= 6\.2'
    need 'cmake\(Qt6Xml\) >= 6\.2'
    need "libkqsupport$soversion\(.+\) = $version-.+"
    required=$(grep "^libkqsupport$soversion(" "$list")
    rpm -qp --provides "$runtime" >"$list"
    grep -Fqx "$required" "$list" || { echo "not provided: $required"; exit 1; }
    need "libkqsupport\.so\.$soversion\(\)\(64bit\)"
    rpm -qp --requires "$runtime" >"$list"
    for dependency in libc libstdc\\+\\+ libQt6Core libQt6Xml; do
        need "$dependency\.so\.6\(\)\(64bit\)"
    done
    rpm -qp --scripts "$runtime" >"$list"
    [ "$(grep -cx /sbin/ldconfig "$list")" -eq 2 ] || { cat "$list"; exit 1; }
    both=$({ rpm -qpl "$runtime"; rpm -qpl "$devel"; rpm -qpl "$tools"; } | grep -v build-id | sort | uniq -d)
    [ -z "$both" ] || { echo "in two packages: $both"; exit 1; }

    libdir=lib64
    export kqsupport_DIR="$root/usr/$libdir/cmake/kqsupport" # CMake on Debian does not search lib64
    rpm --root "$root" --nodeps --noscripts --install ./*.rpm
    library_mode=755
    ;;
*) exit 2 ;;
esac

find "$root/usr" -name 'libkqsupport.so*' | sort >"$list"
for name in "" ".$version" ".$soversion"; do
    echo "$root/usr/$libdir/libkqsupport.so$name"
done | sort | diff - "$list"
wrong=$(find "$root/usr" -type d ! -perm 755 -o -name 'lib*.so.*.*' ! -perm "$library_mode" -o \
    -path '*/bin/*' ! -perm 755 -o -type f ! -name 'lib*.so.*' ! -path '*/bin/*' ! -perm 644)
[ -z "$wrong" ] || { echo "wrong mode: $wrong"; exit 1; }

page=share/man/man1/zk_settings.1.gz
[ -n "${CI-}" ] || command -v scdoc >/dev/null || page='' # scdoc makes the page
for name in bin/zk_settings share/bash-completion/completions/zk_settings $page; do
    [ -s "$root/usr/$name" ] || { echo "missing: $name"; exit 1; }
done
LD_LIBRARY_PATH=$root/usr/$libdir "$root/usr/bin/zk_settings" --version >"$list"
need "zk_settings $version"
sh "$source/tests/rules/hardening.sh" "$root/usr/bin/zk_settings"

for name in docs/guide.md docs/ini-format.md examples/zk_xml.cpp; do
    [ -s "$root/usr/share/doc/kqsupport/$name" ] || { echo "missing: $name"; exit 1; }
done

library=$root/usr/$libdir/libkqsupport.so
sh "$source/tests/rules/symbols.sh" "$library" "$source/tests/rules/symbols.txt"
sh "$source/tests/rules/hardening.sh" "$library"
exec sh "$source/tests/package/downstream.sh" find_package "$source" "$root/usr" "$scratch/downstream" "$compiler" "$version"
