# shellcheck shell=bash
# The 32-bit Debian in build/i386/root, in which ./dev i386, ./dev package and ./dev vm build. Sourced after lib.sh and root.sh.
i386_folder=$PWD/build/i386

# need_i386: makes it once. build/i386 may be deleted at any time.
need_i386()
{
    need_root_tools
    mkdir -p "$i386_folder/build"
    [ -f "$i386_folder/root.done" ] || {
        timed "32-bit Debian" new_root i386 "$i386_folder/root" || return
        touch "$i386_folder/root.done"
    }
}

# in_i386 COMMAND…: runs it in the repository as the 32-bit system sees it, with its own build folder: build/i386/build.
in_i386()
{
    ROOT_BINDS="$PWD:/root/source"$'\n'"$i386_folder/build:/root/source/build"$'\n' in_root "$i386_folder/root" \
        setarch i686 sh -c 'cd /root/source && exec "$@"' sh "$@"
}

# build_32_bit_packages: makes build/packages/i386/*.deb.
build_32_bit_packages()
{
    need_i386 || return
    in_i386 ./dev package --native || return
    rm -rf build/packages/i386
    mkdir -p build/packages
    cp -a "$i386_folder/build/packages/i386" build/packages/i386
}
