#pragma once

#include "Tarnwick/Desktop/DesktopServices.h"

namespace tarnwick {

/// Asks org.freedesktop.FileManager1 on the session bus; without an answer, xdg-open opens the folder. Needs
/// the Qt main thread's event loop.
class DesktopFileRevealer final : public FileRevealer {
public:
    void reveal(const URL& file) override;
};

} // namespace tarnwick
