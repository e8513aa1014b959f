#!/bin/sh
# Builds and runs two downstream programs outside the tree: client.cpp and the program of the README. CMake, pkg-config
# and the header must all have the version VERSION:
# downstream.sh find_package|pkg_config|subdirectory SOURCE_DIR PREFIX SCRATCH_DIR COMPILER VERSION
set -eu
how=$1 source=$2 prefix=$3 scratch=$4 compiler=$5 version=$6

rm -rf "$scratch"
mkdir -p "$scratch/sources"
cp "$source/tests/package/client.cpp" "$scratch/sources/"
# The README has one C++ block, which is a program.
# shellcheck disable=SC2016 # the backquotes are the fence of the block
sed -n '/^```cpp$/,/^```$/{/^```/!p}' "$source/README.md" >"$scratch/sources/readme.cpp"
[ "$(grep -c '^```cpp$' "$source/README.md")" -eq 1 ] || { echo "the README must have exactly one C++ block"; exit 1; }

# No rpath: CMake's would be split at a comma in the path.
case $how in
find_package)
    library=$(dirname "$(find "$prefix" -name libkqsupport.so)")
    cmake -S "$source/tests/package/find_package" -B "$scratch/build" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_SKIP_RPATH=ON \
        -DSOURCES="$scratch/sources" -DCMAKE_PREFIX_PATH="$prefix" -DKQSUPPORT_VERSION="$version"
    cmake --build "$scratch/build"
    ;;
subdirectory)
    # A client may join sources (CMAKE_UNITY_BUILD), and that takes a third of the time.
    library=$scratch/build/kqsupport
    cmake -S "$source/tests/package/subdirectory" -B "$scratch/build" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_SKIP_RPATH=ON \
        -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=0 \
        -DSOURCES="$scratch/sources" -DKQSUPPORT="$source"
    cmake --build "$scratch/build"
    ;;
pkg_config)
    mkdir "$scratch/build"
    PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name kqsupport.pc)")
    export PKG_CONFIG_PATH
    library=$(dirname "$(find "$prefix" -name libkqsupport.so)")
    pkg-config --exact-version="$version" --print-errors kqsupport
    # pkg-config quotes its words for a shell.
    eval "set -- $(pkg-config --cflags --libs kqsupport)"
    for program in client readme; do
        "$compiler" -std=c++17 -fPIC "$scratch/sources/$program.cpp" -o "$scratch/build/$program" "$@"
    done
    ;;
*) exit 2 ;;
esac

export LD_LIBRARY_PATH="$library"

expect() {
    expected=$1
    shift
    said=$("$@" 2>&1) && status=0 || status=$?
    [ "$status: $said" = "$expected" ] || { printf 'expected %s\n     got %s: %s\n' "$expected" "$status" "$said"; exit 1; }
}
expect "0: kqsupport $version
ubuntu 22.4
value
content" "$scratch/build/client" --distrib debian
expect "0: ubuntu 22.4" "$scratch/build/readme" --distrib debian
expect "1: Missing distribution

Usage...

zk_install --distrib [rhel|fedora|rocky|alma|debian|ubuntu|mint|suse|arch]" "$scratch/build/readme" --distrib

# A release whose VERSION_ID is not a number. This needs a private mount.
[ "$(id -u)" -eq 0 ] && private='unshare -m' || private='unshare -rm'
if $private true 2>/dev/null || [ -n "${CI-}" ]; then
    printf 'ID=x\nVERSION_ID=rolling\n' >"$scratch/os-release"
    # shellcheck disable=SC2016,SC2086 # the inner shell expands $1 and $2; $private is two words
    expect "1: unknown release" $private sh -c 'mount --bind "$1" /etc/os-release && exec "$2"' sh \
        "$scratch/os-release" "$scratch/build/readme"
fi
