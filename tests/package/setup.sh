#!/bin/bash
# Runs scripts/setup with a real package manager. The manager runs in an overlay of this machine, in which nothing is
# installed and whose only repository has empty packages with the names that scripts/setup knows:
# setup.sh apt-get|dnf|zypper|pacman SOURCE_DIR SCRATCH_DIR
set -euo pipefail
umask 022
manager=$1 source=$2 scratch=$3 PATH=$PATH:/usr/sbin:/sbin

skip() {
    printf 'setup: Skipped\n%s\n' "$1"
    [ -z "${CI-}" ] || exit 1
    exit 77
}
fail() {
    printf 'failed: %s\n%s\n' "$1" "$said"
    exit 1
}

if [ "${4-}" != private ]; then
    [ "$(id -u)" -eq 0 ] || skip "only root may install packages"
    case $manager in
    apt-get) tools='dpkg-deb dpkg-scanpackages' ;;
    dnf | zypper) tools='rpmbuild createrepo_c' ;;
    pacman) tools= ;;
    esac
    for tool in "$manager" $tools; do
        command -v "$tool" >/dev/null || skip "$tool is not installed"
    done
    unshare --mount --net --pid --fork true || skip "no namespaces here"
    mkdir -p "$scratch"
    exec unshare --mount --net --pid --fork --propagation private bash "$0" "$@" private
fi

root=$scratch/root
mount -t tmpfs tmpfs "$scratch"
cd "$scratch" # the mount options must have no comma and no colon
mkdir root upper work
mount -t overlay -o lowerdir=/,upperdir=upper,workdir=work overlay root || skip "no overlay here"
mount -t proc proc "$root/proc"
mount --rbind /dev "$root/dev"
cp "$source/scripts/setup" "$root/setup"
rm -f "$root/etc/os-release" # usually a link

as_root() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 "$@"; }
as_user() { as_root setpriv --reuid=65534 --regid=65534 --clear-groups "$@"; }

# The table of scripts/setup.
eval "$(sed -n '/^packages() {$/,/^}$/p' "$source/scripts/setup")"
mapfile -t groups < <(sed -n "s/^ *\(\*\|$manager\):\([a-z]*\)).*/\2/p" "$source/scripts/setup" | sort -u)
need() { printf '%s\n' "$@"; }
want() { printf '%s\n' "$@"; }
mapfile -t all < <(for group in "${groups[@]}"; do packages "$manager:$group"; done | sort -u)

make_packages() {
    local build=$root/build name
    mkdir -p "$build/DEBIAN" "$root/repo"
    case $manager in
    apt-get)
        for name; do
            printf '%s\n' "Package: $name" 'Version: 1' 'Architecture: all' 'Maintainer: none' 'Description: none' \
                >"$build/DEBIAN/control"
            dpkg-deb --build "$build" "$root/repo/$name.deb" >/dev/null
        done
        ;;
    dnf | zypper)
        {
            printf '%s\n' 'Name: none' 'Version: 1' 'Release: 1' 'Summary: none' 'License: none' 'BuildArch: noarch' \
                '%description'
            for name; do
                printf '%s\n' "%package -n $name" 'Summary: none' "%description -n $name" "%files -n $name"
            done
        } >"$build/spec"
        as_root rpmbuild -bb --quiet --define '_topdir /build' --define '_rpmdir /' \
            --define '_build_name_fmt repo/%%{NAME}.rpm' /build/spec
        ;;
    pacman)
        for name; do
            printf '%s\n' "pkgname = $name" 'pkgver = 1-1' 'arch = any' >"$build/.PKGINFO"
            tar -C "$build" -czf "$root/repo/$name.pkg.tar.gz" .PKGINFO
        done
        ;;
    esac
}

index_packages() {
    case $manager in
    apt-get) (cd "$root/repo" && dpkg-scanpackages --multiversion . >Packages 2>/dev/null) ;;
    dnf | zypper)
        rm -rf "$root"/var/cache/{dnf,zypp}
        as_root createrepo_c --quiet /repo
        ;;
    pacman) # repo-add does not work on Debian
        rm -rf "$root/db"
        for file in "$root"/repo/*.pkg.tar.gz; do
            name=$(basename "$file" .pkg.tar.gz)
            mkdir -p "$root/db/$name-1-1"
            printf '%%%s%%\n%s\n\n' NAME "$name" VERSION 1-1 ARCH any FILENAME "$name.pkg.tar.gz" \
                >"$root/db/$name-1-1/desc"
        done
        (cd "$root/db" && tar -czf "$root/repo/stub.db" -- *)
        as_root pacman -Syy
        ;;
    esac
}

# Leaves the manager with an empty database and one repository. New directories hide changes on the machine itself.
configure() {
    local etc=$root/etc var=$root/var
    case $manager in
    apt-get)
        rm -rf "$etc/apt" "$var"/lib/{apt,dpkg} "$var/cache/apt"
        mkdir -p "$etc/apt" "$var"/lib/dpkg/{info,triggers,updates} "$var"/{lib/apt/lists,cache/apt/archives}/partial
        touch "$var/lib/dpkg/status"
        echo 'deb [trusted=yes] file:/repo ./' >"$etc/apt/sources.list"
        ;;
    dnf | zypper)
        rm -rf "$etc"/{yum.repos.d,zypp/{repos.d,systemCheck}} "$var"/lib/{rpm,dnf,zypp} # systemCheck requires glibc
        mkdir -p "$etc"/{yum.repos.d,zypp/repos.d,rpm}
        echo '%_dbpath /var/lib/rpm' >"$etc/rpm/macros" # on Debian it is in the home folder
        printf '%s\n' '[stub]' name=stub baseurl=file:///repo enabled=1 gpgcheck=0 |
            tee "$etc/yum.repos.d/stub.repo" >"$etc/zypp/repos.d/stub.repo"
        ;;
    pacman)
        rm -rf "$var"/{lib,cache}/pacman
        mkdir -p "$var/lib/pacman/local" "$var/cache/pacman/pkg"
        printf '%s\n' '[options]' 'SigLevel = Never' '[stub]' 'Server = file:///repo' >"$etc/pacman.conf"
        ;;
    esac
}

installed() {
    # shellcheck disable=SC2016 # dpkg-query replaces it
    case $manager in
    apt-get) as_root dpkg-query -W -f='${Package}\n' ;;
    dnf | zypper) as_root rpm -qa --qf '%{NAME}\n' ;;
    pacman) as_root pacman -Qq || true ;; # fails if there is none
    esac | sort | paste -sd ' '
}

# Runs a command and expects its exit status, the packages that are then installed, and texts in its output:
# expect CASE STATUS PACKAGES TEXT... -- COMMAND...
expect() {
    local case=$1 expected=$2 packages=$3 text texts=() status=0
    shift 3
    while [ "$1" != -- ]; do texts+=("$1") && shift; done
    said=$("${@:2}" 2>&1) || status=$?
    [ "$status" -eq "$expected" ] || fail "$case: status $status"
    [ "$(installed)" = "$packages" ] || fail "$case: installed are: $(installed)"
    for text in "${texts[@]}"; do
        [[ $said == *"$text"* ]] || fail "$case: no '$text'"
    done
}
setup() { "$1" /setup "${groups[@]}"; }

configure
make_packages "${all[@]}"
mv "$root"/repo/{acl,cmake}[.-]* "$root/build"
index_packages
hints=()
case $manager in
apt-get)
    systems=('ID=debian' $'ID=ubuntu\nID_LIKE=debian' $'ID=linuxmint\nID_LIKE="ubuntu debian"')
    refusal='Unable to locate package cmake'
    ;;
dnf)
    systems=('ID=fedora' $'ID="rocky"\nID_LIKE="rhel centos fedora"\nVERSION_ID="8.10"'
        $'ID="almalinux"\nID_LIKE="rhel centos fedora"\nVERSION_ID="10.0"'
        $'ID="rhel"\nID_LIKE="fedora"\nVERSION_ID="9.6"')
    hints=('' 'RHEL 8 and its rebuilds have no Qt 6.' $'    dnf install epel-release\n    crb enable'
        $'    dnf install https://dl.fedoraproject.org/pub/epel/epel-release-latest-9.noarch.rpm\n    crb enable')
    refusal='No match for argument: cmake'
    ;;
zypper)
    systems=('ID="sles"' $'ID="opensuse-leap"\nID_LIKE="suse opensuse"')
    refusal="'cmake' not found"
    ;;
pacman)
    systems=('ID=arch' $'ID=manjaro\nID_LIKE=arch')
    hints=('pacman -Syu')
    refusal='target not found: cmake'
    ;;
esac

rm -f "$root/usr/bin/sudo"
for i in "${!systems[@]}"; do
    echo "${systems[i]}" >"$root/etc/os-release"
    expect "${systems[i]}: user without sudo" 1 '' "Installing with $manager: " \
        'setup: run this as root, or install sudo' -- setup as_user
    expect "${systems[i]}: cmake does not exist" 1 '' "$refusal" "setup: $manager did not install: " "${hints[i]-}" \
        -- setup as_root
done
echo "${systems[0]}" >"$root/etc/os-release"

# Stands in for sudo and refuses everybody.
printf '%s\n' '#!/bin/sh' 'echo "sudo $*"' 'exit 1' >"$root/usr/bin/sudo"
chmod 755 "$root/usr/bin/sudo"
expect 'user with sudo' 1 '' "sudo $manager" -- setup as_user
[[ $said != *'sudo -n'* ]] || fail 'user with sudo: no password is asked'

but_acl=$(printf '%s\n' "${all[@]}" | grep -vx acl | paste -sd ' ')
mv "$root"/build/cmake[.-]* "$root/repo"
index_packages
not_installed='setup: not installed: acl. The build and the other tests work without them.'
expect 'acl does not exist' 0 "$but_acl" "$not_installed" -- setup as_root
expect 'second run' 0 "$but_acl" "$not_installed" -- setup as_root
expect 'second run of a user' 0 "$but_acl" "$not_installed" -- setup as_user
grep -F sudo <<<"$said" | grep -Fv 'sudo -n' && fail 'second run of a user: a password is asked'
mv "$root/usr/bin/sudo" "$root/build"
expect 'second run of a user without sudo' 0 "$but_acl" "$not_installed" -- setup as_user

mv "$root"/build/acl[.-]* "$root/repo"
index_packages
expect 'acl exists now' 0 "${all[*]}" "Installing with $manager, if possible: acl" -- setup as_root
expect 'everything is installed' 0 "${all[*]}" -- setup as_user
[ -z "$said" ] || fail 'everything is installed: not silent'

echo 'ID=unknown' >"$root/etc/os-release"
for other in apt-get dnf zypper pacman; do
    [ $other = "$manager" ] || rm -f "$root/usr/bin/$other"
done
expect 'unknown system' 2 "${all[*]}" "setup: no group 'none' for $manager" -- as_root /setup none
mv "$root/usr/bin/$manager" "$root/build"
said=$(as_root /setup build 2>&1) && fail 'no manager: status 0'
grep -Fqx 'setup: this system has none of apt, dnf, zypper and pacman.' <<<"$said" || fail 'no manager: other message'
