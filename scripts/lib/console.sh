# shellcheck shell=bash
# Messages go to standard error: standard output is for the program that a script starts.

say() {
    printf '%s\n' "$*" >&2
}

die() {
    say "$@"
    exit 1
}

# The folder for built tools, package lists and logs, all of which can be made again.
cache_directory() {
    local base=${XDG_CACHE_HOME:-}
    [[ $base == /* ]] || base=~/.cache
    printf '%s/tarnwick\n' "$base"
}
