# shellcheck shell=bash
# Which files a check looks at: those named, or everything that git tracks or would track.

# list_files [FILE…]: one name per line, as seen from the root.
list_files()
{
    if [ $# -gt 0 ]; then
        realpath --relative-to=. -- "$@"
    else
        git ls-files --cached --others --exclude-standard --deduplicate
    fi | while IFS= read -r l_file; do
        if [ -f "$l_file" ]; then printf '%s\n' "$l_file"; fi
    done
}

only_cpp() { grep -E '\.(h|cpp)$' || true; }

only_shell()
{
    local l_file
    while IFS= read -r l_file; do
        if [[ $l_file == *.sh ]] || head -n 1 -- "$l_file" | grep -qaE '^#!.*\b(ba)?sh\b|^# shellcheck shell='; then printf '%s\n' "$l_file"; fi
    done
}
