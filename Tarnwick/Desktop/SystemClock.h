#pragma once

#include "Tarnwick/Desktop/DesktopServices.h"

namespace tarnwick {

/// The wall clock and Qt's timers. A wait of more than a day may end early.
class SystemClock final : public Clock {
public:
    Date now() const override;
    Registration startTimer(double seconds, std::function<void()> handler) override;
};

} // namespace tarnwick
