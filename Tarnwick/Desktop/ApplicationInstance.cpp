#include "Tarnwick/Desktop/ApplicationInstance.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QStringList>

namespace tarnwick {

namespace {

constexpr auto service = "app.tarnwick.Tarnwick";
constexpr auto objectPath = "/app/tarnwick/Tarnwick";
constexpr auto objectInterface = "org.freedesktop.Application";
constexpr int answerMilliseconds = 5000;
/// Only a second start of this program sets this key in the platform data.
constexpr auto askedForKey = "app.tarnwick.Tarnwick.compress";

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

bool handOver(const QDBusConnection& bus, const QList<QUrl>& urls, bool isAskedFor) {
    const auto method = urls.isEmpty() ? "Activate" : "Open";
    QDBusMessage call = QDBusMessage::createMethodCall(service, objectPath, objectInterface, method);
    if (!urls.isEmpty()) {
        call << QUrl::toStringList(urls, QUrl::FullyEncoded);
    }
    QVariantMap data = platformData();
    if (isAskedFor) {
        data.insert(askedForKey, true);
    }
    call << data;
    return bus.call(call, QDBus::Block, answerMilliseconds).type() == QDBusMessage::ReplyMessage;
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
    void Activate(const QVariantMap& platform_data) { instance_.receive(platform_data); }
    void Open(const QStringList& uris, const QVariantMap& platform_data) {
        instance_.receive(platform_data);
        emit instance_.filesOpened(QUrl::fromStringList(uris, QUrl::StrictMode),
                                   platform_data.value(askedForKey).toBool());
    }
    void ActivateAction(const QString& action_name, const QVariantList& /*parameter*/,
                        const QVariantMap& platform_data) {
        instance_.receive(platform_data);
        emit instance_.actionRequested(action_name);
    }

private:
    ApplicationInstance& instance_;
};

ApplicationInstance::ApplicationInstance(QObject* parent) : QObject(parent) {
    new ApplicationAdaptor(this);
}

ApplicationInstance::~ApplicationInstance() {
    if (registered_) {
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
    registered_ = bus.registerService(service);
    if (registered_) {
        return Role::first;
    }
    bus.unregisterObject(objectPath);
    return handOver(bus, urls, isAskedFor) ? Role::second : Role::first;
}

void ApplicationInstance::receive(const QVariantMap& platformData) {
    emit activated(platformData.value("activation-token").toString());
}

} // namespace tarnwick

#include "ApplicationInstance.moc"
