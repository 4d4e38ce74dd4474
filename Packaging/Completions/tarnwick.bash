# Completion of tarnwick for bash.  -*- shell-script -*-

# Prints the identifiers of the records in the given store.
_tarnwick_records() {
    tarnwick ${1:+--store "${1/#\~/$HOME}"} history --json 2>/dev/null | sed -n 's/.*"id":"\([^"]*\)".*/\1/p'
}

# Adds the folders that start with the current word, and with `pictures` also the files with a picture's extension.
_tarnwick_files() {
    local file current=${COMP_WORDS[COMP_CWORD]}
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do
        if [[ -d ${file/#\~/$HOME} || ($1 == pictures && ${file,,} =~ \.(png|jpe?g|gif|heic|heif)$) ]]; then
            COMPREPLY+=("$file")
        fi
    done < <(compgen -f -- "$current")
}

_tarnwick() {
    local i word option='' command='' store='' options='--help --store --tools' current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    # bash splits "--store=folder" at the "=".
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case $option$word in
        --store | --tools | --store= | --tools=) option=${option:-$word} ;;
        --store*) option='' store=$word ;;
        --tools*) option='' ;;
        --version) options+=' --json' ;;
        compress | inspect | history | restore | delete | clear | maintain) command=${command:-$word} ;;
        esac
    done
    if [[ -n $option ]]; then
        [[ $current != = ]] || COMP_WORDS[COMP_CWORD]=''
        _tarnwick_files folders
        return
    fi
    case $command in
    '') options+=' --version' ;;
    compress) options+=' --again --json' ;;
    inspect | history | restore) options+=' --json' ;;
    clear) options+=' --yes' ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
        return
    fi
    case $command in
    '') mapfile -t COMPREPLY < <(compgen -W 'compress inspect history restore delete clear maintain' -- "$current") ;;
    compress | inspect) _tarnwick_files pictures ;;
    restore)
        _tarnwick_files pictures
        mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -W "$(_tarnwick_records "$store")" -- "$current")
        ;;
    delete) mapfile -t COMPREPLY < <(compgen -W "$(_tarnwick_records "$store")" -- "$current") ;;
    esac
}
complete -F _tarnwick tarnwick
