# shellcheck shell=bash
# Shared by the sessions in the virtual machine. Their standard input is the serial line, on which the outside answers.
source tools/lib.sh
exec 3<&0 </dev/null

# The hosts that make calls again and again, as the outside knows them: a name and its call.
# shellcheck disable=SC2034 # sessions read it
READERS='board read 0x100 0x101=3
amc read 0x200 0x20d=3 0x201=2
table table 0x100
set write 0x100 0x101=2 -- 0x102=1 0x103=0 0x105=1 0x10c=3'

# meet NAME: tells the outside that it is its turn, and goes on when the outside has sent the name back.
meet()
{
    local l_word
    printf '@meet %s\n' "$1"
    read -r -t 120 -u 3 l_word || fail "the outside does not answer"
    [ "$l_word" = "$1" ] || fail "the outside said \"$l_word\", not \"$1\""
}

# host WORD…: runs bmhost; shows the adaptor's prints if it fails.
host()
{
    bmhost --storage "$SCRATCH/storage" "$@" 2>"$SCRATCH/prints" || fail "bmhost $* ended with status $?: $(cat "$SCRATCH/prints")"
}

say "The machine, its driver and the packages"
uname -srm
dmesg --notime | grep -i ipmi
ls -l /dev/ipmi0
dpkg-query -W -f '${Package} ${Version} ${Architecture}\n' bladesim bmhost libipmi-adaptor linux-image-686
[ -z "${LD_PRELOAD:-}" ] || fail "a library is preloaded: $LD_PRELOAD"
