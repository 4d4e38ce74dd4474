#include "Tarnwick/Desktop/MenuExtensions.h"

#include <utility>

namespace tarnwick {
namespace {

QString nameOf(FileManagerMenus::FileManager fileManager) {
    return QString::fromStdString(name(fileManager));
}

} // namespace

MenuExtensions::MenuExtensions(FileManagerMenus menus) : menus_(std::move(menus)) {}

std::vector<FileManagerExtensions::State> MenuExtensions::states() const {
    std::vector<State> installed;
    for (const FileManagerMenus::State& state : menus_.states()) {
        if (state.isInstalled) {
            installed.push_back({.name = nameOf(state.fileManager), .isEnabled = state.isEnabled});
        }
    }
    return installed;
}

void MenuExtensions::setEnabled(const QString& name, bool isEnabled) {
    for (const auto fileManager : FileManagerMenus::allFileManagers) {
        if (nameOf(fileManager) == name) {
            menus_.setEnabled(fileManager, isEnabled);
        }
    }
}

} // namespace tarnwick
