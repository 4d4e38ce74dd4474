#include "Tarnwick/Desktop/DBusNotifications.h"

#include "Tarnwick/Desktop/DBusSignal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QUuid>
#include <utility>

namespace tarnwick {
namespace {

constexpr auto path = "/app/tarnwick/Tarnwick";
constexpr auto interface = "app.tarnwick.Tarnwick";
constexpr int patienceInMilliseconds = 2'000;

QDBusMessage signalFor(NotificationName name) {
    return QDBusMessage::createSignal(path, interface, rawValue(name));
}

/// Returns once the bus has handled all that was sent before.
void flush(const QDBusConnection& bus) {
    const QDBusMessage question = QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId");
    bus.call(question, QDBus::Block, patienceInMilliseconds);
}

} // namespace

void DBusNotifications::post(NotificationName name) {
    QDBusConnection::sessionBus().send(signalFor(name));
}

Registration DBusNotifications::observe(NotificationName name, std::function<void()> handler) {
    return DBusSignal::observe(QDBusConnection::sessionBus(),
                               {.path = path, .interface = interface, .member = rawValue(name)},
                               [handler = std::move(handler)](const QDBusMessage&) { handler(); });
}

void postNotification(NotificationName name) {
    // A connection of its own: the shared one wants an application object, and may be another thread's.
    const QString connection = QUuid::createUuid().toString();
    {
        const QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, connection);
        if (bus.send(signalFor(name))) {
            flush(bus);
        }
    }
    QDBusConnection::disconnectFromBus(connection);
}

} // namespace tarnwick
