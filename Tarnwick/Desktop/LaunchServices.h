#pragma once

#include "Foundation/URL.h"

namespace tarnwick {

/// Where the desktop learns which applications there are.
class LaunchServices {
public:
    LaunchServices() = default;
    LaunchServices(const LaunchServices&) = delete;
    LaunchServices& operator=(const LaunchServices&) = delete;
    virtual ~LaunchServices() = default;

    /// Makes a bundle known, anew where it was known already. May block; safe from any thread. A failure is
    /// only logged.
    virtual void registerBundle(const URL& bundle) = 0;
};

} // namespace tarnwick
