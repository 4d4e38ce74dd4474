#pragma once

#include "Tarnwick/QtSupport/MainThreadExecutor.h"

#include <QtQml/qqmlregistration.h>

#include <QCache>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>
#include <QUrl>
#include <cstdint>
#include <functional>
#include <memory>

namespace tarnwick {

/// A pending request. Dropping the last reference cancels it: the file is not read, unless reading has begun.
using ThumbnailRequest = std::shared_ptr<const void>;

/// Reads thumbnails in the background and caches them. Lives on the main thread.
class ThumbnailStore : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// Both are in device pixels. The radius is that of the corners.
    struct Shape {
        QSize size;
        qreal radius = 0;
    };
    /// Receives a null image when the file cannot be read.
    using Receiver = std::function<void(const QImage&)>;

    explicit ThumbnailStore(QObject* parent = nullptr);

    /// The thumbnail as it was last read; null when it is not in the cache.
    QImage kept(const QUrl& url, const Shape& shape) const;
    /// Calls `receiver` later, once, unless the request is cancelled before. A file that has not changed
    /// since its thumbnail was cached is not read again.
    ThumbnailRequest request(const QUrl& url, const Shape& shape, Receiver receiver);

private:
    struct Kept {
        std::int64_t version;
        QImage image;
    };

    QImage kept(const QString& key) const;
    void keep(const QString& key, std::int64_t version, const QImage& image);

    QCache<QString, Kept> cache_;
    MainThreadContext mainThread_;
};

} // namespace tarnwick
