# shellcheck shell=bash
# Reads packages of another Debian release with separate package lists and a separate cache: the machine's own apt set-up
# is not changed, and root is not needed. apt verifies everything with the machine's archive keyring. Needs console.sh
# and packages.sh.

# Prints the sites that may be the Debian main archive, the likeliest first. Before the machine's first `apt-get update`
# no site has labels; then all sites count that the machine's sources name for this release.
debian_sites() {
    local release
    # shellcheck disable=SC2016 # expanded by apt
    local -r format='$(SITE)'
    release=$(os_release VERSION_CODENAME)
    {
        apt-get indextargets --format "$format" 'Origin: Debian' 'Label: Debian'
        apt-get update --print-uris | sed -n "s|^'\(.*\)/dists/$release/InRelease'.*|\1|p"
    } | grep -v '^cdrom:' | awk '!seen[$0]++'
}

write_view_configuration() {
    local view=$1
    # Hooks and foreign architectures of the machine do not apply here.
    cat >"$view/apt.conf" <<END
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
#clear APT::Architectures;
APT::Architectures "$(dpkg --print-architecture)";
APT::Sandbox::User "root";
APT::Update::Error-Mode "any";
Dir::Cache "$view/cache/";
Dir::Etc::Preferences "/dev/null";
Dir::Etc::PreferencesParts "/dev/null";
Dir::Etc::SourceList "$view/sources.list";
Dir::Etc::SourceParts "/dev/null";
Dir::State::Lists "$view/lists/";
END
}

write_view_sources() {
    local view=$1 site=$2 suite=$3
    local keyring=/usr/share/keyrings/debian-archive-keyring.gpg
    cat >"$view/sources.list" <<END
deb [signed-by=$keyring lang=none target=Packages] $site $suite main
deb-src [signed-by=$keyring lang=none target=Sources] $site $suite main
END
}

# open_apt_view SUITE: reads the package lists. After that, view_apt_get and view_apt_cache work on this suite.
open_apt_view() {
    local suite=$1 sites site
    view=$(cache_directory)/apt/$suite
    mkdir -p "$view/lists/partial" "$view/cache/archives/partial"
    write_view_configuration "$view"
    if ! sites=$(debian_sites); then
        say 'apt knows no Debian archive on this machine.'
        return 1
    fi
    for site in $sites; do
        say "Reading the package lists of Debian $suite"
        write_view_sources "$view" "$site" "$suite"
        if view_apt_get update; then
            return 0
        fi
    done
    say "The package lists of Debian $suite could not be read."
    return 1
}

view_apt_get() {
    LC_ALL=C apt-get -q -c "$view/apt.conf" "$@"
}

view_apt_cache() {
    LC_ALL=C apt-cache -q -c "$view/apt.conf" "$@"
}

# Unpacks PACKAGE's upstream source into the new FOLDER and prints its version. Downloads only the upstream archive: the
# Debian packaging is not needed, and mirrors sometimes lack it.
unpack_upstream() {
    local package=$1 folder=$2 archive version
    local -a archives
    mkdir -p "$folder.archive" "$folder"
    (cd "$folder.archive" && view_apt_get source --download-only --tar-only "$package") >&2
    archives=("$folder.archive/${package}_"*.orig.tar.*)
    archive=${archives[0]}
    [[ -f $archive && ${#archives[@]} == 1 ]] || die "$package: no upstream archive arrived."
    tar -xf "$archive" -C "$folder" --strip-components=1
    version=${archive##*_}
    printf '%s\n' "${version%.orig.tar.*}"
}
