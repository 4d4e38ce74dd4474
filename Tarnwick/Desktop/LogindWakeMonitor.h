#pragma once

#include "Tarnwick/Desktop/WakeMonitor.h"

namespace tarnwick {

/// Listens to logind on the system bus; where that is missing no wake is ever told.
class LogindWakeMonitor final : public WakeMonitor {
public:
    Registration observeWake(std::function<void()> handler) override;
};

} // namespace tarnwick
