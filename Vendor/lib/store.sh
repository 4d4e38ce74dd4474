# shellcheck shell=bash
# The store of built tools, shared by all checkouts of a user. An entry is a folder named after the recipe, the version
# that was built and the recipe's revision. One rename creates it, so an entry that exists is complete. A process that
# changes the store holds its lock. Needs console.sh and packages.sh.

store=$(cache_directory)/tools/$(machine_kind)

# Prints the newest entry that was built by this revision of the recipe.
stored() {
    local recipe=$1 revision=$2 newest
    newest=$(find "$store" -mindepth 1 -maxdepth 1 -type d -name "$recipe-*+$revision" | sort -V | tail -n 1)
    [[ -n $newest ]] && printf '%s\n' "$newest"
}

# Removes what interrupted builds left. The lock is held, so no other build is running.
clear_leftovers() {
    find "$store" -mindepth 1 -maxdepth 1 -type d -name '.*' -exec rm -rf {} +
}

# build_into_store RECIPE REVISION LOG: builds the recipe (a path) into a new entry; LOG gets the output.
build_into_store() {
    local recipe=$1 revision=$2 log=$3 work output name
    name=$(basename "$recipe")
    work=$(mktemp -d "$store/.work-XXXXXX") || return 1
    output=$(mktemp -d "$store/.output-XXXXXX") || return 1
    "$recipe" build "$work" "$output" </dev/null >"$log" 2>&1 || return 1
    rm -rf "$work"
    chmod 755 "$output" || return 1
    publish "$output" "$store/$name-$(<"$output/version")+$revision"
}

publish() {
    local output=$1 entry=$2
    rm -rf "$entry"
    mv -T "$output" "$entry"
}
