# shellcheck shell=bash
# Finds and installs missing Debian packages. Needs console.sh.

os_release() {
    (
        # shellcheck source=/dev/null
        . /etc/os-release
        printf '%s\n' "${!1:-}"
    )
}

# Prints the kind of machine that a compiled program runs on, such as "debian-12-amd64".
machine_kind() {
    local architecture
    architecture=$(dpkg --print-architecture 2>/dev/null || uname -m)
    printf '%s-%s-%s\n' "$(os_release ID)" "$(os_release VERSION_ID)" "$architecture"
}

missing_packages() {
    local native installed package
    native=$(dpkg --print-architecture)
    # The status says nothing: the query also fails when it does not know one of the packages.
    installed=$(dpkg-query --show --showformat=':${db:Status-Status} ${Package} ${Architecture}:\n' "$@" 2>/dev/null) || true
    for package in "$@"; do
        [[ $installed == *":installed $package $native:"* || $installed == *":installed $package all:"* ]] ||
            printf '%s\n' "$package"
    done
}

install_command() {
    local prefix='' command
    ((EUID == 0)) || ! command -v sudo >/dev/null || prefix='sudo '
    command="${prefix}apt-get install --no-install-recommends $*"
    ((EUID == 0)) || [[ -n $prefix ]] || command="su -c '$command'"
    printf '%s\n' "$command"
}

# Prints the prefix that runs a command as root (empty for root); fails when there is none without a password.
administrator_prefix() {
    if ((EUID == 0)); then
        return 0
    fi
    command -v sudo >/dev/null && sudo -n true 2>/dev/null && printf 'sudo -n '
}

# apt waits for the lock of dpkg, but fails at once when its package lists or its archive are locked.
run_apt_get() {
    local log=$1 prefix tries=60
    shift
    prefix=$(administrator_prefix) || return 1
    while true; do
        # shellcheck disable=SC2086 # the prefix is a list of words
        ${prefix}env DEBIAN_FRONTEND=noninteractive LC_ALL=C apt-get -q -y -o DPkg::Lock::Timeout=600 \
            -o Dpkg::Use-Pty=0 "$@" </dev/null >"$log" 2>&1 && return 0
        grep -q 'Could not get lock' "$log" && ((--tries > 0)) || return 1
        sleep 5
    done
}

# --no-remove: a conflict with a package that the user installed must cause an error, not remove the package.
install_packages() {
    local log
    log=$(mktemp) || return 1
    say "Installing Debian packages: $*"
    if ! run_apt_get "$log" install --no-install-recommends --no-remove "$@"; then
        say 'Refreshing the package lists first'
        # A source that fails may not matter: the installation below decides.
        run_apt_get "$log" update || say "$(tail -n 5 "$log")"
        if ! run_apt_get "$log" install --no-install-recommends --no-remove "$@"; then
            say "$(tail -n 20 "$log")"
            rm -f "$log"
            return 1
        fi
    fi
    rm -f "$log"
}

# Installs those of the packages that are missing, if that needs no password. Otherwise fails; `packages_missing` then
# lists them.
require_packages() {
    local list
    packages_missing=("$@")
    command -v dpkg-query >/dev/null || return 1
    list=$(missing_packages "$@") || return 1
    [[ -n $list ]] || return 0
    mapfile -t packages_missing <<<"$list"
    command -v apt-get >/dev/null && administrator_prefix >/dev/null && install_packages "${packages_missing[@]}"
}

# Prints how to get missing packages.
packages_remedy() {
    if ! command -v dpkg-query >/dev/null; then
        printf 'This machine has no dpkg: Tarnwick sets itself up on Debian 12 and 13 only. These are the names of Debian packages.\n'
    elif ! command -v apt-get >/dev/null; then
        printf 'There is no apt-get here to install them with.\n'
    elif administrator_prefix >/dev/null; then
        printf 'apt-get could not install them (see above). By hand:\n    %s\n' "$(install_command "$@")"
    else
        printf 'Install them with:\n    %s\n' "$(install_command "$@")"
    fi
}
