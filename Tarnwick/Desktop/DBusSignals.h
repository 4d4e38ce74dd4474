#pragma once

#include "Tarnwick/Desktop/DesktopServices.h"

namespace tarnwick {

/// Signals of the interface app.tarnwick.Tarnwick at /app/tarnwick/Tarnwick on the session bus. Without a
/// session bus nothing is sent or received. Needs the Qt main thread's event loop.
class DBusNotifications final : public DistributedNotifications {
public:
    void post(NotificationName name) override;
    Registration observe(NotificationName name, std::function<void()> handler) override;
};

/// Posts to the session bus from any thread of a program, also one without an event loop or about to exit:
/// the bus has the notification when this returns. Without a session bus it does nothing; it waits at most
/// two seconds for a bus that does not answer.
void postNotification(NotificationName name);
/// The same for both notifications, after records or backups were removed.
void postBothNotifications();

/// Listens to logind on the system bus; without a system bus it reports no wake.
class LogindWakeMonitor final : public WakeMonitor {
public:
    Registration observeWake(std::function<void()> handler) override;
};

} // namespace tarnwick
