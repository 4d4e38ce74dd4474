# Prints the violations of the layers in the files given; scripts/check-layers describes the rules.
BEGIN {
    # What each folder of CompressionKit may include besides itself.
    place["Foundation"] = ""
    place["Process"] = place["ImageIO"] = place["Scheduling"] = "Foundation"
    place["Inspection"] = "Foundation ImageIO"
    place["History"] = "Foundation Inspection"
    place["Engine"] = "Foundation Process ImageIO Inspection History"
    place["Wording"] = place["Engine"] " Engine"
    count = split("QtSupport Desktop Maintenance Model Views", folders)
    for (i = 1; i <= count; i++) rank[folders[i]] = i
}

function violation(words) { printf "%s:%d: %s\n", FILENAME, FNR, words }

# The folder of CompressionKit that the file is in, or nothing.
function libraryFolder(   parts) {
    return split(FILENAME, parts, "/") > 2 && parts[1] == "CompressionKit" ? parts[2] : ""
}

function check_folder(header, here,   there) {
    there = header
    sub(/\/.*/, "", there)
    if (header ~ /(^|\/)\.\.?\//) violation("an include names a file by its folder, not by a way to it")
    else if (there ~ /^(Tarnwick|TarnwickCommand|TarnwickBackground|TarnwickFinderSync|Model|Desktop|Views|Tests|Support)$/ ||
             there in place && there != here && index(" " place[here] " ", " " there " ") == 0)
        violation(here " may not include " there)
}

# The folder of Tarnwick that the file or header is in, or nothing.
function applicationFolder(path,   parts) {
    return split(path, parts, "/") > 2 && parts[1] == "Tarnwick" ? parts[2] : ""
}

function check_application(header) {
    if (header ~ /^TarnwickCommand\//) violation("Tarnwick may not include TarnwickCommand")
    if (header ~ /^TarnwickBackground\//) violation("Tarnwick may not include TarnwickBackground")
    if (rank[applicationFolder(header)] > rank[applicationFolder(FILENAME)] && applicationFolder(FILENAME) != "")
        violation(applicationFolder(FILENAME) " may not include " applicationFolder(header))
    if (FILENAME ~ /^Tarnwick\/Model\// && header ~ /^(QQml|QQuick|QJS|QtQml|QtQuick|QWidget|QtWidgets)/)
        violation("Model knows no window: " header)
    if (FILENAME ~ /^Tarnwick\/(QtSupport|Desktop|Maintenance|Views)\// && header ~ /^TarnwickFinderSync\//)
        violation("of Tarnwick, Model alone knows TarnwickFinderSync")
    if (FILENAME !~ /^Tarnwick\/(QtSupport|Desktop)\//) return
    sub(/\/.*/, "", header)
    if (header in place && header != "Foundation")
        violation("of CompressionKit, QtSupport and Desktop know Foundation only")
}

# The file managers' menus hand paths over and work nowhere else.
function check_finder_sync(header) {
    if (header ~ /^(Tarnwick|TarnwickCommand|TarnwickBackground)\//)
        violation("TarnwickFinderSync knows none of the programs")
    if (header ~ /^(QDBus|QGui|QQml|QQuick|QWidget|QProcess|QtDBus|QtGui|QtQml|QtQuick|QtWidgets)/)
        violation("of Qt, TarnwickFinderSync knows the core only: " header)
    sub(/\/.*/, "", header)
    if (header in place && header != "Foundation")
        violation("of CompressionKit, TarnwickFinderSync knows Foundation only")
}

function check_library(header, here) {
    if (header ~ /^(png|pngconf|jpeglib|jerror|jmorecfg|turbojpeg|gif_lib|lcms2|lcms2_plugin|pixman)\.h$/ ||
        header ~ /^(libpng|libheif|libexif|pixman-1)/)
        if (here != "ImageIO") violation("image libraries are used in ImageIO only: " header)
    if (header ~ /^openssl\// && here != "Foundation") violation("OpenSSL is used in Foundation only")
    if (header == "spawn.h" && here != "Process") violation("processes are started in Process only")
    if (header ~ /^(seccomp|linux\/(landlock|seccomp))\.h$/ && here != "Process")
        violation("processes are confined in Process only")
    if (header ~ /^(QtCore\/)?QProcess$/ && FILENAME !~ /^Tarnwick\/Desktop\//)
        violation("processes are started in Process only, and other programs of the desktop in Desktop")
    if (header ~ /^Q/ && FILENAME ~ /^CompressionKit\//) violation("CompressionKit knows no Qt: " header)
}

FNR == 1 {
    comment = 0
    if (libraryFolder() != "" && !(libraryFolder() in place)) violation(libraryFolder() " has no place among the folders of CompressionKit")
}
FILENAME ~ /CMakeLists\.txt$/ {
    sub(/#.*/, "")
    if (FILENAME ~ /^CompressionKit\// && /Qt[0-9]*::|find_package\( *Qt/) violation("CompressionKit knows no Qt")
    next
}
FILENAME ~ /\.qml$/ {
    if (FILENAME !~ /\/PlainText\.qml$/ && /(^|[^A-Za-z0-9_])(Text|Label)[ \t]*\{/ && !/^[ \t]*\/\//)
        violation("a text may contain a file's name: it is a PlainText, which is never markup")
    next
}
{
    if (comment && !sub(/^.*\*\//, "")) next
    comment = 0
    gsub(/\/\*[^*]*\*\//, "")
    sub(/(^|[^:])\/\/.*/, "")
    if (sub(/\/\*.*/, "")) comment = 1
}
/^[ \t]*#[ \t]*include/ {
    header = $0
    sub(/^[^"<]*["<]/, "", header)
    sub(/[">].*/, "", header)
    if (libraryFolder() in place) {
        check_folder(header, libraryFolder())
        if ($0 ~ /"/ && header !~ /\//) violation("an include names the folder: \"" libraryFolder() "/" header "\"")
    }
    if (FILENAME ~ /^TarnwickCommand\// && header ~ /^(Tarnwick|Model|Desktop|Views|\.\.\/Tarnwick)\// &&
        header !~ /^Tarnwick\/Desktop\//)
        violation("of Tarnwick, TarnwickCommand knows Desktop only")
    if (FILENAME ~ /^TarnwickBackground\// && header ~ /^(Tarnwick|TarnwickCommand)\// &&
        header !~ /^Tarnwick\/(QtSupport|Desktop|Maintenance)\//)
        violation("of Tarnwick, TarnwickBackground knows QtSupport, Desktop and Maintenance only")
    if (FILENAME ~ /^TarnwickCommand\// && header ~ /^TarnwickBackground\//)
        violation("TarnwickCommand may not include TarnwickBackground")
    if (FILENAME ~ /^Tarnwick\//) check_application(header)
    if (FILENAME ~ /^TarnwickFinderSync\//) check_finder_sync(header)
    check_library(header, libraryFolder())
    next
}
/(^|[^A-Za-z0-9_.>])(posix_spawnp?|v?fork|(__)?clone|execl[ep]?|execvp?e?|fexecve|popen|system)[ \t]*\(/ {
    if (libraryFolder() != "Process") violation("processes are started in Process only")
}
