# Counts the lines that are neither blank nor only a comment, per folder, and prints "COUNT FOLDER" for each. Folders are
# given to two levels. A comment starts with // or # (in Python), or stands between /* and */.

function folder_of(path,    parts, levels) {
    levels = split(path, parts, "/")
    if (levels == 1)
        return "."
    return levels == 2 ? parts[1] : parts[1] "/" parts[2]
}

FNR == 1 {
    folder = folder_of(FILENAME)
    python = FILENAME ~ /\.py$/
    inside = 0
}

inside {
    if (!sub(/.*\*\//, ""))
        next
    inside = 0
}

python && /^[ \t]*#/ { next }

!python {
    while (sub(/^[ \t]*\/\*([^*]|\*+[^*\/])*\*+\//, ""))
        ;
    if (/^[ \t]*\/\//)
        next
    if (/^[ \t]*\/\*/) {
        inside = 1
        next
    }
}

/[^ \t\r\f]/ { count[folder]++ }

END {
    for (folder in count)
        print count[folder], folder
}
