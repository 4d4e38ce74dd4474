#include "Tarnwick/Views/Theme/Appearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace tarnwick {

namespace {

constexpr auto portalService = "org.freedesktop.portal.Desktop";
constexpr auto portalPath = "/org/freedesktop/portal/desktop";
constexpr auto portalSettings = "org.freedesktop.portal.Settings";
constexpr auto appearanceGroup = "org.freedesktop.appearance";
constexpr auto interfaceGroup = "org.gnome.desktop.interface";

bool isPaletteDark() {
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

} // namespace

Appearance::Appearance(QObject* parent) : QObject(parent) {
    qGuiApp->installEventFilter(this);
    update();
    listenToPortal();
}

void Appearance::listenToPortal() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return;
    }
    bus.connect(portalService, portalPath, portalSettings, "SettingChanged", this,
                SLOT(takeSetting(QString, QString, QDBusVariant)));
    ask(appearanceGroup, "color-scheme");
    ask(appearanceGroup, "reduced-motion");
    ask(interfaceGroup, "enable-animations");
}

void Appearance::ask(const QString& group, const QString& key) {
    QDBusMessage call = QDBusMessage::createMethodCall(portalService, portalPath, portalSettings, "Read");
    call << group << key;
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, group, key](auto* finished) {
        const QDBusPendingReply<QDBusVariant> reply = *finished;
        // Many desktops have no portal, or one without some of the keys.
        if (reply.isValid()) {
            takeSetting(group, key, reply.value());
        }
        finished->deleteLater();
    });
}

void Appearance::takeSetting(const QString& group, const QString& key, const QDBusVariant& value) {
    QVariant content = value.variant();
    // "Read" returns a variant within a variant.
    while (content.canConvert<QDBusVariant>()) {
        content = content.value<QDBusVariant>().variant();
    }
    if (group == appearanceGroup && key == "color-scheme") {
        const uint scheme = content.toUInt();
        portalScheme_ = scheme == 1 ? Scheme::dark : scheme == 2 ? Scheme::light : Scheme::unknown;
    } else if (group == appearanceGroup && key == "reduced-motion") {
        portalStillness_ = content.toUInt() == 1;
    } else if (group == interfaceGroup && key == "enable-animations") {
        animationsOff_ = !content.toBool();
    }
    update();
}

bool Appearance::eventFilter(QObject* watched, QEvent* event) {
    if (watched == qGuiApp && event->type() == QEvent::ApplicationPaletteChange) {
        update();
    }
    return QObject::eventFilter(watched, event);
}

void Appearance::update() {
    const bool dark = portalScheme_ == Scheme::unknown ? isPaletteDark() : portalScheme_ == Scheme::dark;
    const bool reduced =
        portalStillness_ || animationsOff_ || qEnvironmentVariableIntValue("TARNWICK_REDUCED_MOTION") != 0;
    if (dark != dark_) {
        dark_ = dark;
        emit darkChanged();
    }
    if (reduced != reducedMotion_) {
        reducedMotion_ = reduced;
        emit reducedMotionChanged();
    }
}

} // namespace tarnwick
