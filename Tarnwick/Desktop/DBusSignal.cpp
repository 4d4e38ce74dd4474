#include "Tarnwick/Desktop/DBusSignal.h"

namespace tarnwick {

Registration DBusSignal::observe(QDBusConnection bus, const DBusSignalName& name, Handler handler) {
    auto* receiver = new DBusSignal(std::move(handler));
    bus.connect({}, name.path, name.interface, name.member, receiver, SLOT(receive(QDBusMessage)));
    return Registration([receiver] { delete receiver; });
}

void DBusSignal::receive(const QDBusMessage& message) {
    // A copy: the handler may end the observation, and this object with it.
    const Handler handler = handler_;
    handler(message);
}

} // namespace tarnwick
