# shellcheck shell=bash
# Words for people go to standard error: standard output belongs to the program that a script starts.

say() {
    printf '%s\n' "$*" >&2
}

die() {
    say "$@"
    exit 1
}

# Where everything is kept that can be made again: the tools' builds, package lists, logs.
cache_directory() {
    local base=${XDG_CACHE_HOME:-}
    [[ $base == /* ]] || base=~/.cache
    printf '%s/tarnwick\n' "$base"
}
