# shellcheck shell=bash
# The start of every recipe. A recipe is a program with two calls:
#     packages              prints the Debian packages that the build needs, one on each line
#     build WORK OUTPUT     builds in the empty folder WORK and writes the tools and a file `version` to OUTPUT
# It defines the functions `packages` and `build` and ends with `recipe "$@"`.

shopt -s inherit_errexit
scripts=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../../scripts
# shellcheck source=scripts/lib/console.sh
. "$scripts/lib/console.sh"
# shellcheck source=scripts/lib/packages.sh
. "$scripts/lib/packages.sh"
# shellcheck source=scripts/lib/apt-view.sh
. "$scripts/lib/apt-view.sh"

# All checkouts share what is built: the caller's compiler settings must not affect it.
forget_build_environment() {
    unset CC CXX CPP LD AR CFLAGS CXXFLAGS CPPFLAGS LDFLAGS RUSTFLAGS MAKEFLAGS CMAKE_GENERATOR CMAKE_BUILD_TYPE \
        CMAKE_PREFIX_PATH CMAKE_TOOLCHAIN_FILE PKG_CONFIG_PATH PKG_CONFIG_LIBDIR CPATH LIBRARY_PATH LD_LIBRARY_PATH
    PATH=/usr/sbin:/sbin:/usr/bin:/bin
}

recipe() {
    case ${1:-} in
    packages)
        packages
        ;;
    build)
        work=${2:?where to build?}
        # shellcheck disable=SC2034 # read by the recipe
        output=${3:?where to leave the tools?}
        cd "$work" || exit
        build
        ;;
    *)
        die "usage: $0 packages | build WORK OUTPUT"
        ;;
    esac
}
