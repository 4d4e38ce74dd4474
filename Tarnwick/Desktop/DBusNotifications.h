#pragma once

#include "Tarnwick/Desktop/DistributedNotifications.h"

namespace tarnwick {

/// Signals of the interface app.tarnwick.Tarnwick at /app/tarnwick/Tarnwick on the session bus. Without a
/// session bus posts go nowhere and observers hear nothing. Needs the Qt main thread's event loop.
class DBusNotifications final : public DistributedNotifications {
public:
    void post(NotificationName name) override;
    Registration observe(NotificationName name, std::function<void()> handler) override;
};

/// Posts to the session bus from any thread of a program, also one without an event loop or about to end: the
/// bus has the notification when this returns. Without a session bus it does nothing; a bus that does not
/// answer is given up after two seconds.
void postNotification(NotificationName name);

} // namespace tarnwick
