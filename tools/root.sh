# shellcheck shell=bash
# Debian roots to build and run in: made by debootstrap from this machine's mirror, entered in namespaces of their own.
# Sourced after lib.sh.

# need_root_tools: installs what the functions below call, and checks for root.
need_root_tools()
{
    need_packages bare
    [ "$(id -u)" -eq 0 ] || fail "only root can make a root"
}

# make_root FOLDER [DEBOOTSTRAP-OPTION…]: makes a minimal Debian 12 in FOLDER, without apt's lists; debootstrap's output
# is in FOLDER.log.
make_root()
{
    local l_root=$1 l_mirror l_log
    shift
    l_log=$l_root.log
    # The mirror that this machine uses, in either of apt's two notations.
    # shellcheck disable=SC2016
    l_mirror=$(apt-get indextargets --format '$(SITE) $(CODENAME) $(COMPONENT)' 'Created-By: Packages' |
        awk '$2 == "bookworm" && $3 == "main" { print $1; exit }')
    [ -n "$l_mirror" ] || fail "apt knows no mirror of Debian 12 here: put one into /etc/apt and run apt-get update"
    if ! debootstrap --variant=minbase "$@" bookworm "$l_root" "$l_mirror" >"$l_log" 2>&1; then
        tail -n 20 "$l_log" >&2
        return 1
    fi
    rm -rf "$l_root"/var/lib/apt/lists/*
}

# new_root ARCHITECTURE FOLDER: the same, copied from a root that is made once and kept in build/roots. Replaces FOLDER.
new_root()
{
    local l_kept=$PWD/build/roots/$1
    if [ ! -f "$l_kept.done" ]; then
        mkdir -p "${l_kept%/*}"
        rm -rf --one-file-system "$l_kept"
        make_root "$l_kept" "--arch=$1" || return
        # Nothing in a root has to survive a power failure, so dpkg need not wait for the disk.
        echo force-unsafe-io >"$l_kept/etc/dpkg/dpkg.cfg.d/root"
        touch "$l_kept.done"
    fi
    rm -rf --one-file-system "$2"
    mkdir -p "$(dirname "$2")"
    cp -a "$l_kept" "$2"
}

# in_root FOLDER COMMAND…: runs it in the root. Every process that it leaves running ends with its process namespace,
# every mount with its mount namespace. Before that, $ROOT_BINDS are mounted, one per line: the folder, a colon, and its
# place in the root. It is the namespace's own root: from a chroot, an ordinary user gets no user namespace.
# shellcheck disable=SC2016
in_root()
{
    ROOT_BINDS=${ROOT_BINDS:-} unshare --mount --pid --fork --kill-child sh -c '
        mount --bind "$0" "$0" && mount -t proc proc "$0/proc" && mount -t sysfs sysfs "$0/sys" && mount --rbind /dev "$0/dev" || exit
        printf %s "$ROOT_BINDS" | while IFS=: read -r from to; do
            mkdir -p "$0$to" && mount --bind "$from" "$0$to" || exit
        done || exit
        cd "$0" && pivot_root . mnt && umount -l /mnt || exit
        exec /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin "$@"' "$@" </dev/null
}
