#include "Tarnwick/Desktop/LogindWakeMonitor.h"

#include "Tarnwick/Desktop/DBusSignal.h"

#include <utility>

namespace tarnwick {

Registration LogindWakeMonitor::observeWake(std::function<void()> handler) {
    constexpr DBusSignalName name = {.path = "/org/freedesktop/login1",
                                     .interface = "org.freedesktop.login1.Manager",
                                     .member = "PrepareForSleep"};
    // The argument is true before sleep and false after it.
    return DBusSignal::observe(QDBusConnection::systemBus(), name,
                               [handler = std::move(handler)](const QDBusMessage& message) {
                                   if (message.arguments() == QVariantList{false}) {
                                       handler();
                                   }
                               });
}

} // namespace tarnwick
