#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariantMap>

class QDBusMessage;

namespace tarnwick {

/// The one running application of a session: it owns the bus name app.tarnwick.Tarnwick and answers
/// org.freedesktop.Application at /app/tarnwick/Tarnwick. Lives on the main thread.
class ApplicationInstance : public QObject {
    Q_OBJECT

public:
    enum class Role {
        /// This process is the application, as always without a session bus.
        first,
        /// Another process is the application and has accepted the files.
        second,
    };

    explicit ApplicationInstance(QObject* parent = nullptr);
    ~ApplicationInstance() override;

    /// Becomes the application, or passes `urls` to the running one; `isAskedFor` means that the user asked
    /// for their compression. Must be called once, before the window is made. When a running application does
    /// not answer within five seconds, this process becomes the first and keeps the files, and the running
    /// one will never take them.
    Role start(const QList<QUrl>& urls, bool isAskedFor);
    /// From now on refuses every request, so that the process that makes it becomes the first.
    void end() noexcept { isEnding_ = true; }

signals:
    /// The window should come to the front.
    void activated(const QString& activationToken);
    /// Without `isAskedFor` the desktop only opened the files, as in a picture viewer.
    void filesOpened(const QList<QUrl>& urls, bool isAskedFor);
    /// An action of the desktop entry, by its name.
    void actionRequested(const QString& name);

private:
    friend class ApplicationAdaptor;
    /// Takes the call's request and comes to the front, or refuses the call.
    bool receive(const QVariantMap& platformData, const QDBusMessage& call);

    bool isRegistered_ = false;
    bool isEnding_ = false;
};

} // namespace tarnwick
