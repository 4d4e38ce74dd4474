#include "Tarnwick/Desktop/DesktopFileRevealer.h"

#include "Tarnwick/QtSupport/DebugLog.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QStringList>

namespace tarnwick {
namespace {

QString locationOf(const URL& url) {
    return QString::fromStdString(url.absoluteString());
}

void openFolder(const QString& folder) {
    QProcess opener;
    opener.setProgram("xdg-open");
    opener.setArguments({folder});
    if (!opener.startDetached()) {
        qCDebug(debugLog).noquote() << "无法打开文件夹：" + opener.errorString();
    }
}

QDBusPendingCall askFileManager(const URL& file) {
    QDBusMessage call =
        QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                       "org.freedesktop.FileManager1", "ShowItems");
    call << QStringList{locationOf(file)} << QString();
    return QDBusConnection::sessionBus().asyncCall(call);
}

} // namespace

void DesktopFileRevealer::reveal(const URL& file) {
    auto* answer = new QDBusPendingCallWatcher(askFileManager(file));
    const QString folder = locationOf(file.deletingLastPathComponent());
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer, folder] {
        if (answer->isError()) {
            openFolder(folder);
        }
        answer->deleteLater();
    });
}

} // namespace tarnwick
