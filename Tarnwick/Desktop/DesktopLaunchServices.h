#pragma once

#include "Tarnwick/Desktop/FinderServices.h"

namespace tarnwick {

/// Linux keeps no registry of bundles: a desktop reads the desktop entries and bus services that a package
/// puts in place. So nothing is written here; a bundle that cannot be read, which no desktop could start, is
/// logged.
class DesktopLaunchServices final : public LaunchServices {
public:
    void registerBundle(const URL& bundle) override;
};

} // namespace tarnwick
