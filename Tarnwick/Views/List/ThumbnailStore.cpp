#include "Tarnwick/Views/List/ThumbnailStore.h"

#include "Inspection/ImageRendering.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <asio/bind_executor.hpp>
#include <sys/stat.h>

#include <QPainter>
#include <QTransform>
#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

namespace tarnwick {

namespace {

constexpr qsizetype cacheBytes = qsizetype{32} << 20;
/// The version of a file that cannot be read.
constexpr std::int64_t noVersion = -1;

/// The time of the last modification.
std::int64_t version(const URL& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) {
        return noVersion;
    }
    return status.st_mtim.tv_sec * 1'000'000'000 + status.st_mtim.tv_nsec;
}

QString keyOf(const QUrl& url, const ThumbnailStore::Shape& shape) {
    return QStringLiteral("%1x%2 %3").arg(shape.size.width()).arg(shape.size.height()).arg(url.toString());
}

QImage viewOf(const Bitmap& bitmap) {
    return {bitmap.pixels.data(), static_cast<int>(bitmap.width), static_cast<int>(bitmap.height),
            QImage::Format_RGBA8888_Premultiplied};
}

/// The middle of the picture, scaled to fill the shape.
QImage cropped(const QImage& picture, const ThumbnailStore::Shape& shape) {
    const QImage scaled =
        picture.scaled(shape.size, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    const QPoint offset((scaled.width() - shape.size.width()) / 2,
                        (scaled.height() - shape.size.height()) / 2);
    QImage image(shape.size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QBrush brush(scaled);
    brush.setTransform(QTransform::fromTranslate(-offset.x(), -offset.y()));
    painter.setBrush(brush);
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(image.rect(), shape.radius, shape.radius);
    return image;
}

QImage thumbnail(const URL& file, const ThumbnailStore::Shape& shape) {
    // The middle is cut out. With twice the size a picture up to twice as wide as high still has enough
    // pixels.
    const int side = 2 * std::max(shape.size.width(), shape.size.height());
    try {
        return cropped(viewOf(*ImageRendering::thumbnail(file, side)), shape);
    } catch (const std::exception&) {
        // The row reports what is wrong with the file. A thumbnail is then only absent.
        return {};
    }
}

/// Has no image when the kept one is still valid.
struct Reading {
    std::int64_t version = noVersion;
    std::optional<QImage> image;
};

} // namespace

ThumbnailStore::ThumbnailStore(QObject* parent) : QObject(parent), cache_(cacheBytes) {}

QImage ThumbnailStore::kept(const QUrl& url, const Shape& shape) const {
    return kept(keyOf(url, shape));
}

ThumbnailRequest ThumbnailStore::request(const QUrl& url, const Shape& shape, Receiver receiver) {
    const QString key = keyOf(url, shape);
    const Kept* known = cache_.object(key);
    auto request = std::make_shared<Receiver>(std::move(receiver));
    const std::weak_ptr<Receiver> wanted = request;

    auto read = [file = fromQUrl(url), shape, wanted,
                 knownVersion = known != nullptr ? known->version : noVersion] {
        Reading reading;
        if (wanted.expired()) {
            return reading;
        }
        reading.version = version(file);
        if (reading.version == noVersion || reading.version != knownVersion) {
            reading.image = thumbnail(file, shape);
        }
        return reading;
    };
    auto deliver = [this, wanted, key](const std::exception_ptr& error, const Reading& reading) {
        const auto waiting = wanted.lock();
        // The only possible error is that the process is ending.
        if (!waiting || error != nullptr) {
            return;
        }
        if (reading.image) {
            keep(key, reading.version, *reading.image);
            (*waiting)(*reading.image);
        } else {
            (*waiting)(kept(key));
        }
    };
    ImageRendering::read(ReadingPriority::normal, std::move(read),
                         asio::bind_executor(mainThread_.executor(), std::move(deliver)));
    return request;
}

QImage ThumbnailStore::kept(const QString& key) const {
    const Kept* found = cache_.object(key);
    return found != nullptr ? found->image : QImage();
}

void ThumbnailStore::keep(const QString& key, std::int64_t version, const QImage& image) {
    if (image.isNull()) {
        cache_.remove(key);
        return;
    }
    cache_.insert(key, new Kept{version, image}, image.sizeInBytes());
}

} // namespace tarnwick
