#pragma once

#include "Tarnwick/Desktop/Registration.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <functional>

namespace tarnwick {

/// What a signal of the bus is known by.
struct DBusSignalName {
    const char* path;
    const char* interface;
    const char* member;
};

/// Receives one signal of a bus for as long as it lives.
class DBusSignal : public QObject {
    Q_OBJECT

public:
    using Handler = std::function<void(const QDBusMessage&)>;

    /// Calls `handler` in this thread's event loop; never, when there is no such bus.
    static Registration observe(QDBusConnection bus, const DBusSignalName& name, Handler handler);

private slots:
    void receive(const QDBusMessage& message);

private:
    explicit DBusSignal(Handler handler) : handler_(std::move(handler)) {}

    Handler handler_;
};

} // namespace tarnwick
