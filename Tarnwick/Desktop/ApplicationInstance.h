#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariantMap>

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
    /// not answer, this process becomes the first.
    Role start(const QList<QUrl>& urls, bool isAskedFor);

signals:
    /// The window should come to the front.
    void activated(const QString& activationToken);
    /// Without `isAskedFor` the desktop only opened the files, as in a picture viewer.
    void filesOpened(const QList<QUrl>& urls, bool isAskedFor);
    /// An action of the desktop entry, by its name.
    void actionRequested(const QString& name);

private:
    friend class ApplicationAdaptor;
    void receive(const QVariantMap& platformData);

    bool registered_ = false;
};

} // namespace tarnwick
