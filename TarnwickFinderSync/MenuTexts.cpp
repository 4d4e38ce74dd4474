#include "TarnwickFinderSync/MenuTexts.h"

#include "TarnwickFinderSync/Quoting.h"

#include <fmt/format.h>

namespace tarnwick::MenuTexts {
namespace {

constexpr std::string_view mimeTypes = "image/png;image/jpeg;image/gif;image/heic;image/heif;";
constexpr std::string_view icon = "app.tarnwick.Tarnwick";

constexpr std::string_view pythonTemplate = R"(# {mark}
import subprocess

from gi.repository import GObject, {module}

APPLICATION = {application}
TYPES = {{"image/png", "image/jpeg", "image/gif", "image/heic", "image/heif"}}


def is_picture(file):
    return file.get_uri_scheme() == "file" and file.get_mime_type() in TYPES


def start(_item, uris):
    subprocess.Popen([APPLICATION, *uris], stdin=subprocess.DEVNULL, start_new_session=True)


class TarnwickMenu(GObject.GObject, {module}.MenuProvider):
    # The files come last; before them, older versions pass a window.
    def get_file_items(self, *arguments):
        files = arguments[-1]
        if not files or not all(map(is_picture, files)):
            return []
        item = {module}.MenuItem(name="Tarnwick::Compress", label="{title}", tip="", icon="{icon}")
        item.connect("activate", start, [file.get_uri() for file in files])
        return [item]
)";

constexpr std::string_view scriptTemplate = R"(#!/bin/sh
# {mark}
application={application}
# A URI holds neither white space nor a line end; a line is one file.
set -f
IFS='
'
set --
for uri in ${variable}_SCRIPT_SELECTED_URIS; do
    case $uri in
    file://*.[Pp][Nn][Gg] | file://*.[Jj][Pp][Gg] | file://*.[Jj][Pp][Ee][Gg] | file://*.[Gg][Ii][Ff] | \
        file://*.[Hh][Ee][Ii][CcFf])
        set -- "$@" "$uri"
        ;;
    esac
done
[ $# -eq 0 ] || exec "$application" "$@"
)";

// GLib's parser of command lines changes nothing in URIs in double quotes. Nemo does not escape quotes and
// backslashes in paths.
constexpr std::string_view nemoTemplate = R"([Nemo Action]
# {mark}
Active=true
Name={title}
Comment={title}
Exec={application} %U
Icon-Name={icon}
Selection=NotNone
Mimetypes={types}
Quote=double
)";

constexpr std::string_view serviceMenuTemplate = R"([Desktop Entry]
# {mark}
Type=Service
Name={title}
ServiceTypes=KonqPopupMenu/Plugin
X-KDE-ServiceTypes=KonqPopupMenu/Plugin
X-KDE-Protocols=file
X-KDE-Priority=TopLevel
MimeType={types}
Actions=compress;

[Desktop Action compress]
Name={title}
Icon={icon}
Exec={application} %F
)";

constexpr std::string_view thunarTemplate = R"(<action>
	<icon>{icon}</icon>
	<name>{title}</name>
	<unique-id>{id}</unique-id>
	<command>{command}</command>
	<description></description>
	<patterns>*.png;*.jpg;*.jpeg;*.gif;*.heic;*.heif;*.PNG;*.JPG;*.JPEG;*.GIF;*.HEIC;*.HEIF</patterns>
	<image-files/>
</action>
)";

} // namespace

std::string pythonExtension(const NautilusNames& names, const std::string& application) {
    return fmt::format(pythonTemplate, fmt::arg("mark", mark), fmt::arg("module", names.module),
                       fmt::arg("application", Quoting::pythonString(application)), fmt::arg("title", title),
                       fmt::arg("icon", icon));
}

std::string script(const NautilusNames& names, const std::string& application) {
    return fmt::format(scriptTemplate, fmt::arg("mark", mark), fmt::arg("variable", names.variable),
                       fmt::arg("application", Quoting::shellWord(application)));
}

std::string nemoAction(const std::string& application) {
    return fmt::format(nemoTemplate, fmt::arg("mark", mark), fmt::arg("title", title), fmt::arg("icon", icon),
                       fmt::arg("types", mimeTypes),
                       fmt::arg("application", Quoting::keyFileValue(Quoting::shellWord(application))));
}

std::string serviceMenu(const std::string& application) {
    const std::string argument = Quoting::withoutFieldCodes(Quoting::execArgument(application));
    return fmt::format(serviceMenuTemplate, fmt::arg("mark", mark), fmt::arg("title", title),
                       fmt::arg("icon", icon), fmt::arg("types", mimeTypes),
                       fmt::arg("application", Quoting::keyFileValue(argument)));
}

std::string thunarAction(const std::string& application) {
    return fmt::format(thunarTemplate, fmt::arg("icon", icon), fmt::arg("title", title),
                       fmt::arg("id", uniqueID),
                       fmt::arg("command", Quoting::xmlText(thunarCommand(application))));
}

std::string thunarCommand(const std::string& application) {
    return Quoting::withoutFieldCodes(Quoting::shellWord(application)) + " %U";
}

} // namespace tarnwick::MenuTexts
