# shellcheck shell=bash
# A test calls expect_success and expect_failure and ends with `finish`.

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
checks=0
failures=0

complain() {
    printf '%s: %s\n' "$(basename "$0")" "$1"
    sed 's/^/    /' "$scratch/said"
    failures=$((failures + 1))
}

# expect_success COMMAND...
expect_success() {
    checks=$((checks + 1))
    "$@" >"$scratch/said" 2>&1 || complain "failed: $*"
}

# expect_failure TEXT COMMAND...: the command fails and prints the text.
expect_failure() {
    local words=$1
    shift
    checks=$((checks + 1))
    if "$@" >"$scratch/said" 2>&1; then
        complain "succeeded: $*"
    elif ! grep -qF -e "$words" "$scratch/said"; then
        complain "does not say \"$words\": $*"
    fi
}

# program PATH: writes an executable script; its text comes from standard input.
program() {
    mkdir -p "$(dirname "$1")"
    {
        printf '#!/bin/bash\n'
        cat
    } >"$1"
    chmod +x "$1"
}

finish() {
    printf '%s: %d checks, %d failed\n' "$(basename "$0")" "$checks" "$failures"
    exit $((failures > 0))
}
