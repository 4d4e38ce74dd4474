# shellcheck shell=bash
# Configuring, building and testing by preset. Needs console.sh.

root=$(readlink -f "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../..")

# Two builds at once in one folder would damage it: the second waits for the first.
in_build_folder() {
    local preset=$1
    shift
    mkdir -p "$root/build/$preset"
    (cd "$root" && flock "build/$preset/.lock" "$@")
}

# The build runs CMake again when a CMake file changes, but not when the presets change.
configure() {
    local preset=$1
    local folder=$root/build/$preset
    if [[ -f $folder/build.ninja && $folder/.configured -nt $root/CMakePresets.json ]]; then
        return 0
    fi
    say "Configuring build/$preset"
    in_build_folder "$preset" cmake --preset "$preset" >&2
    touch "$folder/.configured"
}

# Whether there is nothing to build.
is_built() {
    local preset=$1
    shift
    [[ $(in_build_folder "$preset" ninja -C "build/$preset" -n "$@" 2>/dev/null) == *'no work to do'* ]]
}

# build PRESET [TARGET...]
build() {
    local preset=$1 target
    local -a targets=()
    shift
    for target in "$@"; do
        targets+=(--target "$target")
    done
    configure "$preset"
    ! is_built "$preset" "$@" || return 0
    in_build_folder "$preset" cmake --build --preset "$preset" "${targets[@]}" >&2
}

# Runs the preset's tests; no test at all is a failure.
run_tests() {
    local preset=$1
    shift
    export TARNWICK_TESTDATA=/usr/share/libjxl-testdata
    [[ -d $TARNWICK_TESTDATA ]] || die "The test pictures are missing in $TARNWICK_TESTDATA."
    (cd "$root" && ctest --preset "$preset" --output-on-failure --no-tests=error --parallel "$(nproc)" "$@")
}
