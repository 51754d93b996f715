# shellcheck shell=bash
# What the commands of ./dev share: messages, the installation of packages, configuring and building.
# Sourced with the repository's root as the current folder.
set -euo pipefail
export LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive
export PATH=$PATH:/usr/local/sbin:/usr/sbin:/sbin

say() { printf '\n== %s\n' "$*"; }

note() { printf '   %s\n' "$*"; }

fail()
{
    printf 'dev: %s\n' "$*" >&2
    exit 1
}

# help_wanted FILE ARGUMENT…: prints the comment at the top of FILE when an argument asks for help.
help_wanted()
{
    local l_argument
    for l_argument in "${@:2}"; do
        case $l_argument in
        -h | --help)
            sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$1"
            exit 0
            ;;
        esac
    done
}

# need_packages LIST…: installs the missing Debian packages of those named in tools/packages/LIST.
need_packages()
{
    local l_wanted l_present l_missing l_lock l_log=build/packages.log
    [ -x /usr/bin/dpkg-query ] || fail "this is no Debian system; the packages of tools/packages have to be installed by hand"
    l_wanted=$(cd tools/packages && sed -e 's/[[:space:]]*#.*//' -e '/^$/d' "$@" | sort -u)
    # shellcheck disable=SC2086,SC2016 # one word a package; dpkg-query's own format
    l_present=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' $l_wanted 2>/dev/null | sed -n 's/^installed //p' || true)
    l_missing=$(grep -vxF -e "$l_present" <<<"$l_wanted" | tr '\n' ' ' || true)
    [ -n "$l_missing" ] || return 0

    [ "$(id -u)" -eq 0 ] || fail "these packages are missing, and only root may install them: $l_missing"
    mkdir -p build
    exec {l_lock}>build/packages.lock
    flock "$l_lock"
    say "Installing Debian packages, once: $l_missing"
    note "fetching the package lists"
    # A failed update alone is no reason to stop: the installation below shows whether the packages are available.
    apt-get -q -o DPkg::Lock::Timeout=300 update >"$l_log" 2>&1 || true
    note "fetching and unpacking (a minute or two)"
    # shellcheck disable=SC2086
    if ! apt-get -q -y -o DPkg::Lock::Timeout=300 --no-install-recommends install $l_missing >>"$l_log" 2>&1 </dev/null; then
        tail -n 20 "$l_log" >&2
        fail "apt-get could not install the packages (all of its output: $l_log)"
    fi
    exec {l_lock}>&-
}

# configure PRESET: runs CMake for build/PRESET if it never ran, or if the presets have changed since.
configure()
{
    local l_ninja=build/$1/build.ninja
    if [ ! -f "$l_ninja" ] || [ CMakePresets.json -nt "$l_ninja" ]; then
        say "Configuring build/$1"
        cmake --preset "$1" || return
        touch "$l_ninja"
    fi
}

# build PRESET [TARGET…]: builds these targets, or everything, in build/PRESET. A second one waits for the first.
build()
{
    local l_preset=$1
    shift
    mkdir -p build
    {
        flock 9 &&
            configure "$l_preset" &&
            say "Building build/$l_preset" &&
            cmake --build "build/$l_preset" ${1:+--target "$@"}
    } 9>"build/$l_preset.lock"
}

# timed NAME COMMAND…: runs a command, says how long it took, and keeps its exit status.
timed()
{
    local l_name=$1 l_start=$SECONDS l_status=0
    shift
    "$@" || l_status=$?
    say "$l_name: $([ "$l_status" -eq 0 ] && echo passed || echo FAILED), $((SECONDS - l_start)) s"
    return "$l_status"
}
