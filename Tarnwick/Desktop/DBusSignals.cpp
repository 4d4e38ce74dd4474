#include "Tarnwick/Desktop/DBusSignals.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QUuid>
#include <algorithm>
#include <initializer_list>
#include <utility>

namespace tarnwick {
namespace {

constexpr auto path = "/app/tarnwick/Tarnwick";
constexpr auto interface = "app.tarnwick.Tarnwick";
constexpr int flushTimeoutInMilliseconds = 2'000;

struct SignalName {
    const char* path;
    const char* interface;
    const char* member;
};

} // namespace

/// Receives one signal of a bus while it lives.
class SignalReceiver : public QObject {
    Q_OBJECT

public:
    using Handler = std::function<void(const QDBusMessage&)>;

    explicit SignalReceiver(Handler handler) : handler_(std::move(handler)) {}

public slots: // NOLINT(readability-redundant-access-specifiers): moc needs it
    void receive(const QDBusMessage& message) {
        // A copy: the handler may end the observation, and this object with it.
        const Handler handler = handler_;
        handler(message);
    }

private:
    Handler handler_;
};

namespace {

/// Calls `handler` in this thread's event loop; never when the bus is missing.
Registration observeSignal(QDBusConnection bus, const SignalName& name, SignalReceiver::Handler handler) {
    auto* receiver = new SignalReceiver(std::move(handler));
    bus.connect({}, name.path, name.interface, name.member, receiver, SLOT(receive(QDBusMessage)));
    return Registration([receiver] { delete receiver; });
}

QDBusMessage signalFor(NotificationName name) {
    return QDBusMessage::createSignal(path, interface, rawValue(name));
}

/// Returns once the bus has handled everything sent before.
void flush(const QDBusConnection& bus) {
    const QDBusMessage question = QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId");
    bus.call(question, QDBus::Block, flushTimeoutInMilliseconds);
}

void postAll(std::initializer_list<NotificationName> names) {
    // A connection of its own: the shared one needs an application object and may belong to another thread.
    const QString connection = QUuid::createUuid().toString();
    {
        const QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, connection);
        const bool isSent = std::all_of(names.begin(), names.end(),
                                        [&](NotificationName name) { return bus.send(signalFor(name)); });
        if (isSent) {
            flush(bus);
        }
    }
    QDBusConnection::disconnectFromBus(connection);
}

} // namespace

void DBusNotifications::post(NotificationName name) {
    QDBusConnection::sessionBus().send(signalFor(name));
}

Registration DBusNotifications::observe(NotificationName name, std::function<void()> handler) {
    return observeSignal(QDBusConnection::sessionBus(),
                         {.path = path, .interface = interface, .member = rawValue(name)},
                         [handler = std::move(handler)](const QDBusMessage&) { handler(); });
}

void postNotification(NotificationName name) {
    postAll({name});
}

void postBothNotifications() {
    postAll({NotificationName::historyDidChange, NotificationName::undoDidChange});
}

Registration LogindWakeMonitor::observeWake(std::function<void()> handler) {
    constexpr SignalName name = {.path = "/org/freedesktop/login1",
                                 .interface = "org.freedesktop.login1.Manager",
                                 .member = "PrepareForSleep"};
    // The argument is true before sleep and false after it.
    return observeSignal(QDBusConnection::systemBus(), name,
                         [handler = std::move(handler)](const QDBusMessage& message) {
                             if (message.arguments() == QVariantList{false}) {
                                 handler();
                             }
                         });
}

} // namespace tarnwick

#include "DBusSignals.moc"
