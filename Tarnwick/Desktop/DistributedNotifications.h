#pragma once

#include "Tarnwick/Desktop/NotificationName.h"
#include "Tarnwick/Desktop/Registration.h"

#include <functional>

namespace tarnwick {

/// Notifications among the user's processes. To be used on one thread, on which the handlers run too.
class DistributedNotifications {
public:
    DistributedNotifications() = default;
    DistributedNotifications(const DistributedNotifications&) = delete;
    DistributedNotifications& operator=(const DistributedNotifications&) = delete;
    virtual ~DistributedNotifications() = default;

    /// Tells every observer, those of this process too. Nobody is told when there is no way to the others.
    virtual void post(NotificationName name) = 0;
    /// Calls `handler` at every post until the registration ends, later and not within post().
    virtual Registration observe(NotificationName name, std::function<void()> handler) = 0;
};

} // namespace tarnwick
