#!/bin/sh
# Fails unless a program without g_kq_verbose fails to link or, with gold and lld and without Qt, fails to start:
# host_without_flag.sh LINKER LIBRARY QT_CORE QT_XML SCRATCH COMPILER [FLAG...].
set -eu
linker=$1 library=$2 core=$3 xml=$4 host=$5/host_without_flag_$1
shift 5
echo 'int main() {}' >"$host.cpp"

expect() {
    echo "$said" | grep -Eq "$1" && return
    echo "$said"
    exit 1
}

links() {
    said=$("$@" -fuse-ld="$linker" -o "$host" -Xlinker -rpath -Xlinker "$(dirname "$library")" 2>&1)
}

fails_to_link() {
    if links "$@"; then
        echo "it links"
        exit 1
    fi
    expect 'undefined (reference to .?|symbol: )g_kq_verbose'
}

fails_to_start() {
    links "$@" || { echo "$said"; exit 1; }
    if said=$("$host" 2>&1); then
        echo "it starts"
        exit 1
    fi
    expect 'undefined symbol: g_kq_verbose'
}

set -- "$@" "$host.cpp" -Wl,--no-as-needed "$library"
fails_to_link "$@" "$core" "$xml"
case $linker in
bfd) fails_to_link "$@" ;;
*) fails_to_start "$@" ;; # they check a library only if they see every library that it needs
esac
