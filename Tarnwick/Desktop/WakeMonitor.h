#pragma once

#include "Tarnwick/Desktop/Registration.h"

#include <functional>

namespace tarnwick {

/// Tells when the computer has woken from sleep.
class WakeMonitor {
public:
    WakeMonitor() = default;
    WakeMonitor(const WakeMonitor&) = delete;
    WakeMonitor& operator=(const WakeMonitor&) = delete;
    virtual ~WakeMonitor() = default;

    /// Calls `handler` on the main thread after every wake until the registration ends.
    virtual Registration observeWake(std::function<void()> handler) = 0;
};

} // namespace tarnwick
