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

/// A waiting thumbnail. Dropping the last reference takes the request back: unless it is being read already,
/// the file isn't touched any more.
using ThumbnailRequest = std::shared_ptr<const void>;

/// Reads thumbnails in the background and keeps the latest. Lives on the main thread.
class ThumbnailStore : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// What a thumbnail is to look like: its size in device pixels, and the radius of its corners.
    struct Shape {
        QSize size;
        qreal radius = 0;
    };
    /// A null image when the file has none.
    using Receiver = std::function<void(const QImage&)>;

    explicit ThumbnailStore(QObject* parent = nullptr);

    /// The thumbnail as it was when last read; null when it isn't kept.
    QImage kept(const QUrl& url, const Shape& shape) const;
    /// Calls `receiver` later, once, unless the request is taken back before. A kept thumbnail whose file is
    /// still the same is not read anew.
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
