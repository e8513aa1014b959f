#!/bin/bash
# Edits files on real file systems, in a guest of user-mode-linux: guest.sh ZK_SETTINGS [FILE-SYSTEM]...
# Needs the Debian packages acl, attr, btrfs-progs, cifs-utils, dosfstools, e2fsprogs, gcc, kmod, nfs-kernel-server,
# rpcbind, samba and user-mode-linux. The guest shares the host's files, so run it as root of a machine for tests.
set -u
all=ext4,btrfs,btrfs-full,overlay,tmpfs,vfat,nfs3,nfs4,smb2.1,smb3.0,smb3.1.1

# The disks are files. Up to Linux 6.1 the guest restores only the first registers of a large processor, which the host
# refuses: the library adds the rest. What does not fit is not used.
start() {
    top=$(mktemp -d)
    truncate -s 64M "$top/ext4" "$top/vfat" && truncate -s 256M "$top/btrfs"
    mkfs.ext4 -qF "$top/ext4" && mkfs.btrfs -q "$top/btrfs" >/dev/null && mkfs.vfat "$top/vfat" >/dev/null
    gcc -shared -fPIC -x c -o "$top/registers.so" - <<'C'
#include <string.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>
enum { peeks = 3, getRegisters = 0x4204, setRegisters = 0x4205 };
long ptrace(int request, int process, void *address, void *data)
{
    static char all[65536]; /* a kernel stack is small */
    struct iovec whole = {all, sizeof all};
    long word = 0;
    if (request >= 1 && request <= peeks)
        return syscall(SYS_ptrace, request, process, address, &word) < 0 ? -1 : word;
    if (request != setRegisters)
        return syscall(SYS_ptrace, request, process, address, data);
    syscall(SYS_ptrace, getRegisters, process, address, &whole);
    memcpy(all, ((struct iovec *)data)->iov_base, ((struct iovec *)data)->iov_len);
    return syscall(SYS_ptrace, setRegisters, process, address, &whole);
}
C
    wanted=$(IFS=,; echo "${*:2}")
    LD_PRELOAD=$top/registers.so linux.uml quiet root=/dev/root rootfstype=hostfs rootflags=/ rw mem=1G con=null \
        con0=null,fd:1 "ubda=$top/ext4" "ubdb=$top/btrfs" "ubdc=$top/vfat" "init=$script" "program=$1" \
        GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX512F,-AVX512VL,-AVX512BW QT_NO_CPU_FEATURE=avx512f \
        "systems=${wanted:-$all}" 2>"$top/log" </dev/null | tee "$top/out"
    grep -q 'file systems: 0 failures' "$top/out"
}

prepare() {
    mount -t proc proc /proc
    for folder in /mnt /run /var/cache/samba /var/lib/nfs /var/lib/samba /var/log; do mount -t tmpfs x "$folder"; done
    mkdir -p /mnt/{x,export,lib/modules} /run/samba /run/lock /var/lib/nfs/{rpc_pipefs,sm,v4recovery}
    touch /var/lib/nfs/{etab,rmtab}
    ln -s /usr/lib/uml/modules/* /mnt/lib/modules
    printf '#!/bin/sh\nexec modprobe -d /mnt "$@"\n' >/run/modprobe
    chmod +x /run/modprobe
    echo /run/modprobe >/proc/sys/kernel/modprobe
    ip link set lo up
    mount -t tmpfs x /mnt/export
    rpcbind -w
    mount -t nfsd nfsd /proc/fs/nfsd && mount -t rpc_pipefs x /var/lib/nfs/rpc_pipefs
    exportfs -o rw,no_root_squash,fsid=0,insecure,no_subtree_check 127.0.0.1:/mnt/export
    rpc.mountd && rpc.nfsd 4 && rpc.statd --no-notify && echo Y >/proc/fs/nfsd/v4_end_grace
    local keys=(state\ directory cache\ directory lock\ directory private\ dir pid\ directory)
    { printf '[global]\nmap to guest = bad user\nguest account = root\ndisable netbios = yes\nsmb ports = 445\n'
      printf 'load printers = no\nlog file = /run/samba/log\n'; printf '%s = /run/samba\n' "${keys[@]}"
      printf '[export]\npath = /mnt/export\nwritable = yes\nguest ok = yes\nforce user = root\n'; } >/run/smb.conf
    smbd -s /run/smb.conf -D
} >/dev/null 2>&1

enter() { # mounts file system $1 and goes there
    case $1 in
    ext4) mount /dev/ubda /mnt/x ;;
    btrfs*) mount /dev/ubdb /mnt/x ;;
    vfat) mount /dev/ubdc /mnt/x ;;
    tmpfs) mount -t tmpfs x /mnt/x ;;
    overlay) mount -t tmpfs x /mnt/x && mkdir /mnt/x/{lower,upper,work} && echo k=1 >/mnt/x/lower/f &&
        mount -t overlay -o lowerdir=/mnt/x/lower,upperdir=/mnt/x/upper,workdir=/mnt/x/work x /mnt/x ;;
    nfs3) mount -t nfs -o vers=3 127.0.0.1:/mnt/export /mnt/x ;;
    nfs4) mount -t nfs -o vers=4.2 127.0.0.1:/ /mnt/x ;;
    smb*) for _ in {1..50}; do
            mount -t cifs -o "guest,uid=0,vers=${1#smb}" //127.0.0.1/export /mnt/x 2>/dev/null && break; sleep 0.2
        done; mountpoint -q /mnt/x ;;
    esac && cd /mnt/x && rm -rf ./* && echo k=1 >f
}

expect() { # "what" EXPECTED COMMAND...
    local found
    found=$("${@:3}" 2>&1)
    [[ $found == "$2" ]] || { echo "$system: $1: '$found' instead of '$2'"; ((++failures)); }
}

# shellcheck disable=SC2154 # the kernel passes it in the environment
zk() { "$program" "$@"; }

edits() {
    local mode
    mode=$(stat -c %a f)
    expect 'an edit' '' zk set f '' k 2
    chmod 640 f 2>/dev/null && mode=$(stat -c %a f)
    setfattr -n user.note -v n f 2>/dev/null && note=n || note=
    expect 'a second edit' '' zk set f '' k 3
    expect 'an edit without a lock' '' zk set --no-lock f '' k 4
    expect 'the contents' 'k=4' cat f
    expect 'the mode' "$mode" stat -c %a f
    [[ ! $note ]] || expect 'the attribute' n getfattr -n user.note --only-values f
    expect 'a new file' '' zk set --create new '' k 1
    if ln f g 2>/dev/null; then
        expect 'an edit in place' '' zk set f '' k longer
        cat g >/dev/null 2>&1 || sleep 2 # on SMB it sometimes cannot be opened at once
        expect 'the other name' 'k=longer' cat g
    fi
    rm -f g new
    exec 3>>f
    echo "$system: while the file is open for writing: $(zk set --wait 0 f '' k 5 2>&1 || true)"
    exec 3>&-
}

races() {
    local writers=() writer edit
    for writer in {1..8}; do
        for edit in {1..5}; do zk set --wait 60 f '' "w$writer-$edit" 1 || echo lost; done &
        writers+=($!)
    done
    for _ in 1 2; do
        while [[ ! -e stop ]]; do zk get f '' k >/dev/null || echo unreadable; sleep 0.1; done &
    done
    wait "${writers[@]}"
    touch stop && wait && rm stop
}

kills() {
    for kill in {1..20}; do
        "$program" set f '' k "$kill" & sleep "0.0$((RANDOM % 90 + 10))"; kill -9 $! 2>/dev/null; wait $!
        for copy in .f.zk_settings-*.new; do # on SMB; what the message of the next edit says
            [[ ! -e $copy ]] || cp "$copy" f
        done
        [[ $(zk get f '' k 2>&1) =~ ^($kill|$((kill - 1)))$ ]] || echo "damaged: $(head -c 99 f)"
        zk set f '' k "$kill" || echo 'no edit'
    done 2>&1 | grep -v Killed
}

full() { # a copy-on-write disk without room, and a write in place
    head -c 100000 /dev/zero | tr '\0' '#' >>f && ln f g && cp f before
    dd if=/dev/zero of=fill bs=64k 2>/dev/null; dd if=/dev/zero of=fill2 bs=1k 2>/dev/null; sync
    local message
    message=$(TMPDIR=$PWD zk set f '' k 2 2>&1)
    if [[ $message == *'contents are in '* ]]; then cp "${message##*contents are in }" f; fi
    { cmp -s f before || grep -qx k=2 f; } || { echo "$system: damaged"; ((++failures)); }
    echo "$system: in place on a full disk: ${message:-done}"
}

inside() {
    export PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8
    failures=0
    prepare
    # shellcheck disable=SC2154 # as above
    for system in ${systems//,/ }; do
        enter "$system" || { echo "$system: cannot mount"; ((++failures)); continue; }
        if [[ $system == btrfs-full ]]; then
            full
        else
            edits
            expect 'races' '' races
            expect 'the edits of the writers' 40 grep -c ^w f
            zk set f '' k 0
            expect 'kills' '' kills
            expect 'what is left' f ls -A
        fi
        cd / && umount /mnt/x
        echo "$system: $failures failures so far"
    done
    echo "file systems: $failures failures"
    echo o >/proc/sysrq-trigger
    sleep 60
}

script=$(realpath "$0")
if [[ $$ == 1 ]]; then inside; else start "$(realpath "$1")" "${@:2}"; fi
