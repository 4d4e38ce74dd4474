#pragma once

#include "Foundation/Date.h"
#include "Tarnwick/Desktop/Registration.h"

#include <functional>

namespace tarnwick {

/// The time, and waiting for it.
class Clock {
public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;

    virtual Date now() const = 0;
    /// Calls `handler` once on the calling thread after so many seconds, unless the registration ended
    /// before. Sleep of the computer does not count, so that a long wait may end late.
    virtual Registration startTimer(double seconds, std::function<void()> handler) = 0;
};

} // namespace tarnwick
