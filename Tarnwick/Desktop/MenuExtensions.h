#pragma once

#include "Tarnwick/Desktop/FileManagerExtensions.h"
#include "TarnwickFinderSync/FileManagerMenus.h"

namespace tarnwick {

/// The entries in the menus of the file managers that the user's machine has.
class MenuExtensions final : public FileManagerExtensions {
public:
    explicit MenuExtensions(FileManagerMenus menus);

    std::vector<State> states() const override;
    void setEnabled(const QString& name, bool isEnabled) override;

private:
    FileManagerMenus menus_;
};

} // namespace tarnwick
