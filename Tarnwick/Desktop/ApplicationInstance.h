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
        /// This process is the application; also where there is no session bus.
        first,
        /// Another process is, and has taken the files over.
        second,
    };

    explicit ApplicationInstance(QObject* parent = nullptr);
    ~ApplicationInstance() override;

    /// Becomes the application, or hands `urls` to the process that is; `isAskedFor` tells whether the user
    /// asked for their compression. To be called once, before the window is made. A running application that
    /// doesn't answer leaves the files to this process.
    Role start(const QList<QUrl>& urls, bool isAskedFor);

signals:
    /// The window is to come to the front.
    void activated(const QString& activationToken);
    /// Without `isAskedFor` the desktop opened the files, as it would in a viewer of pictures.
    void filesOpened(const QList<QUrl>& urls, bool isAskedFor);
    /// A named action of the desktop entry.
    void actionRequested(const QString& name);

private:
    friend class ApplicationAdaptor;
    void receive(const QVariantMap& platformData);

    bool registered_ = false;
};

} // namespace tarnwick
