#include "Tarnwick/Desktop/ApplicationInstance.h"

#include "Foundation/FileDescriptor.h"

#include <sys/eventfd.h>

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QStringList>

namespace tarnwick {

namespace {

constexpr auto service = "app.tarnwick.Tarnwick";
constexpr auto objectPath = "/app/tarnwick/Tarnwick";
constexpr auto objectInterface = "org.freedesktop.Application";
constexpr int answerMilliseconds = 5000;
/// Only a second start of this program sets these keys in the platform data.
constexpr auto askedForKey = "app.tarnwick.Tarnwick.compress";
constexpr auto rightKey = "app.tarnwick.Tarnwick.right";
constexpr auto refusal = "app.tarnwick.Tarnwick.Refused";

/// The right to the files of a start: an eventfd of value 1, of which both processes have a copy. The kernel
/// lets one read succeed. So exactly one of them gets the files, even if the other was stopped meanwhile or
/// has ended.
QDBusUnixFileDescriptor newRight() {
    const FileDescriptor right(::eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK));
    return QDBusUnixFileDescriptor(right.get());
}

bool take(const QDBusUnixFileDescriptor& right) {
    eventfd_t value = 0;
    return ::eventfd_read(right.fileDescriptor(), &value) == 0;
}

QVariantMap platformData() {
    QVariantMap data;
    const QString activation = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    if (!activation.isEmpty()) {
        data.insert("activation-token", activation);
    }
    const QString startup = qEnvironmentVariable("DESKTOP_STARTUP_ID");
    if (!startup.isEmpty()) {
        data.insert("desktop-startup-id", startup);
    }
    return data;
}

/// False when this process keeps the files.
bool handOver(const QDBusConnection& bus, const QList<QUrl>& urls, bool isAskedFor) {
    const QDBusUnixFileDescriptor right = newRight();
    if (!right.isValid()) {
        return false;
    }
    const auto method = urls.isEmpty() ? "Activate" : "Open";
    QDBusMessage call = QDBusMessage::createMethodCall(service, objectPath, objectInterface, method);
    if (!urls.isEmpty()) {
        call << QUrl::toStringList(urls, QUrl::FullyEncoded);
    }
    QVariantMap data = platformData();
    data.insert(rightKey, QVariant::fromValue(right));
    if (isAskedFor) {
        data.insert(askedForKey, true);
    }
    call << data;
    return bus.call(call, QDBus::Block, answerMilliseconds).type() == QDBusMessage::ReplyMessage ||
           !take(right);
}

} // namespace

/// The protocol's methods, which the desktop calls.
class ApplicationAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationAdaptor(ApplicationInstance* instance)
        : QDBusAbstractAdaptor(instance), instance_(*instance) {}

public slots: // NOLINT(readability-redundant-access-specifiers): moc needs it
    void Activate(const QVariantMap& platform_data, const QDBusMessage& message) {
        instance_.receive(platform_data, message);
    }
    void Open(const QStringList& uris, const QVariantMap& platform_data, const QDBusMessage& message) {
        if (instance_.receive(platform_data, message)) {
            emit instance_.filesOpened(QUrl::fromStringList(uris, QUrl::StrictMode),
                                       platform_data.value(askedForKey).toBool());
        }
    }
    void ActivateAction(const QString& action_name, const QVariantList& /*parameter*/,
                        const QVariantMap& platform_data, const QDBusMessage& message) {
        if (instance_.receive(platform_data, message)) {
            emit instance_.actionRequested(action_name);
        }
    }

private:
    ApplicationInstance& instance_;
};

ApplicationInstance::ApplicationInstance(QObject* parent) : QObject(parent) {
    new ApplicationAdaptor(this);
}

ApplicationInstance::~ApplicationInstance() {
    if (isRegistered_) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterService(service);
        bus.unregisterObject(objectPath);
    }
}

ApplicationInstance::Role ApplicationInstance::start(const QList<QUrl>& urls, bool isAskedFor) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return Role::first;
    }
    // The object comes before the name, so that nobody can call a name that has no object yet.
    bus.registerObject(objectPath, this, QDBusConnection::ExportAdaptors);
    if (!bus.registerService(service)) {
        if (handOver(bus, urls, isAskedFor)) {
            bus.unregisterObject(objectPath);
            return Role::second;
        }
        // The other application does not answer, or is ending. This one gets the name after it.
        bus.interface()->registerService(service, QDBusConnectionInterface::QueueService);
    }
    isRegistered_ = true;
    return Role::first;
}

bool ApplicationInstance::receive(const QVariantMap& platformData, const QDBusMessage& call) {
    const QVariant right = platformData.value(rightKey);
    if (isEnding_ || (right.isValid() && !take(right.value<QDBusUnixFileDescriptor>()))) {
        call.setDelayedReply(true);
        QDBusConnection::sessionBus().send(call.createErrorReply(refusal, {}));
        return false;
    }
    emit activated(platformData.value("activation-token").toString());
    return true;
}

} // namespace tarnwick

#include "ApplicationInstance.moc"
