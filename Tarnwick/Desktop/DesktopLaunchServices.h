#pragma once

#include "Tarnwick/Desktop/FinderServices.h"

namespace tarnwick {

/// Linux has no registry of bundles: a desktop reads the desktop entries and bus services that a package
/// installs. So this writes nothing; an unreadable bundle, which no desktop could start, is debug output.
class DesktopLaunchServices final : public LaunchServices {
public:
    void registerBundle(const URL& bundle) override;
};

} // namespace tarnwick
