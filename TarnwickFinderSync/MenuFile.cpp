#include "TarnwickFinderSync/MenuFile.h"

#include "TarnwickFinderSync/MenuTexts.h"
#include "TarnwickFinderSync/PluginLookup.h"

#include <algorithm>

namespace tarnwick {
namespace {

constexpr mode_t plain = 0644;
/// Dolphin trusts a user's service menu only when it is executable.
constexpr mode_t executable = 0755;

/// For Nautilus and Caja, a fork of it: a Python extension where they can load one, else a script.
std::vector<MenuFile> nautilusFiles(const MenuTexts::NautilusNames& names, const std::string& application,
                                    const URL& extensions, const URL& scripts,
                                    const UserDirectories& directories) {
    std::vector<MenuFile> files = {
        {extensions.appending("tarnwick.py"), MenuTexts::pythonExtension(names, application), plain},
        {scripts.appending(MenuTexts::title), MenuTexts::script(names, application), executable}};
    if (!hasPythonPlugin(names.program, directories.libraries)) {
        std::reverse(files.begin(), files.end());
    }
    return files;
}

} // namespace

std::vector<MenuFile> menuFiles(FileManagerMenus::FileManager fileManager, const std::string& application,
                                const UserDirectories& directories) {
    using enum FileManagerMenus::FileManager;
    const URL& data = directories.data;
    switch (fileManager) {
    case nautilus:
        return nautilusFiles({"nautilus", "Nautilus", "NAUTILUS"}, application,
                             data.appending("nautilus-python/extensions"), data.appending("nautilus/scripts"),
                             directories);
    case caja:
        return nautilusFiles({"caja", "Caja", "CAJA"}, application, data.appending("caja-python/extensions"),
                             directories.configuration.appending("caja/scripts"), directories);
    case nemo:
        return {
            {data.appending("nemo/actions/tarnwick.nemo_action"), MenuTexts::nemoAction(application), plain}};
    case dolphin:
        return {{data.appending("kio/servicemenus/tarnwick.desktop"), MenuTexts::serviceMenu(application),
                 executable}};
    case thunar:
        break;
    }
    return {};
}

} // namespace tarnwick
