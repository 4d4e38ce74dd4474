# Prints the violations of the layers in the files given; what they are is told in scripts/check-layers.
BEGIN {
    count = split("Foundation Process ImageIO Inspection History Engine Wording Scheduling", folders)
    for (i = 1; i <= count; i++) place[folders[i]] = i
    count = split("QtSupport Desktop Maintenance Model Views", rooms)
    for (i = 1; i <= count; i++) storey[rooms[i]] = i
}

function violation(words) { printf "%s:%d: %s\n", FILENAME, FNR, words }

# The folder of CompressionKit that the file is in, or nothing.
function home(   parts) {
    return split(FILENAME, parts, "/") > 2 && parts[1] == "CompressionKit" ? parts[2] : ""
}

function check_folder(header, here,   there) {
    there = header
    sub(/\/.*/, "", there)
    if (header ~ /(^|\/)\.\.?\//) violation("an include names a file by its folder, not by a way to it")
    else if (!(there in place)) {
        if (there ~ /^(Tarnwick|TarnwickCommand|TarnwickBackground|TarnwickFinderSync|Model|Desktop|Views|Tests|Support)$/)
            violation(here " does not know " there)
    }
    else if (place[there] > place[here]) violation(here " stands above " there " and does not know it")
    else if (here == "Scheduling" && there ~ /^(Engine|Wording)$/)
        violation("Scheduling and " there " do not know each other")
}

# The folder of Tarnwick that the file or header is in, or nothing.
function room(path,   parts) {
    return split(path, parts, "/") > 2 && parts[1] == "Tarnwick" ? parts[2] : ""
}

function check_application(header) {
    if (header ~ /^TarnwickCommand\//) violation("Tarnwick does not know TarnwickCommand")
    if (header ~ /^TarnwickBackground\//) violation("Tarnwick does not know TarnwickBackground")
    if (storey[room(header)] > storey[room(FILENAME)] && room(FILENAME) != "")
        violation(room(FILENAME) " stands above " room(header) " and does not know it")
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
    if (header ~ /^(QtCore\/)?QProcess$/ && FILENAME !~ /^Tarnwick\/Desktop\//)
        violation("processes are started in Process only, and other programs of the desktop in Desktop")
    if (header ~ /^Q/ && FILENAME ~ /^CompressionKit\//) violation("CompressionKit knows no Qt: " header)
}

FNR == 1 {
    comment = 0
    if (home() != "" && !(home() in place)) violation(home() " has no place among the folders of CompressionKit")
}
FILENAME ~ /CMakeLists\.txt$/ {
    sub(/#.*/, "")
    if (FILENAME ~ /^CompressionKit\// && /Qt[0-9]*::|find_package\( *Qt/) violation("CompressionKit knows no Qt")
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
    if (home() in place) {
        check_folder(header, home())
        if ($0 ~ /"/ && header !~ /\//) violation("an include names the folder: \"" home() "/" header "\"")
    }
    if (FILENAME ~ /^TarnwickCommand\// && header ~ /^(Tarnwick|Model|Desktop|Views|\.\.\/Tarnwick)\// &&
        header !~ /^Tarnwick\/Desktop\//)
        violation("of Tarnwick, TarnwickCommand knows Desktop only")
    if (FILENAME ~ /^TarnwickBackground\// && header ~ /^(Tarnwick|TarnwickCommand)\// &&
        header !~ /^Tarnwick\/(QtSupport|Desktop|Maintenance)\//)
        violation("of Tarnwick, TarnwickBackground knows QtSupport, Desktop and Maintenance only")
    if (FILENAME ~ /^TarnwickCommand\// && header ~ /^TarnwickBackground\//)
        violation("TarnwickCommand does not know TarnwickBackground")
    if (FILENAME ~ /^Tarnwick\//) check_application(header)
    if (FILENAME ~ /^TarnwickFinderSync\//) check_finder_sync(header)
    check_library(header, home())
    next
}
/(^|[^A-Za-z0-9_.>])(posix_spawnp?|v?fork|execl[ep]?|execvp?e?|fexecve|popen|system)[ \t]*\(/ {
    if (home() != "Process") violation("processes are started in Process only")
}
