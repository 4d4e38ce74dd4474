#include "Tarnwick/Views/List/Thumbnail.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <memory>

namespace tarnwick {

Thumbnail::Thumbnail(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
}

void Thumbnail::setStore(ThumbnailStore* store) {
    if (store != store_) {
        store_ = store;
        polish();
        emit storeChanged();
    }
}

void Thumbnail::setUrl(const QUrl& url) {
    if (url != url_) {
        url_ = url;
        request_.reset();
        show({});
        polish();
        emit urlChanged();
    }
}

void Thumbnail::setRadius(qreal radius) {
    if (radius != radius_) {
        radius_ = radius;
        polish();
        emit radiusChanged();
    }
}

void Thumbnail::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) {
        polish();
    }
    update();
}

void Thumbnail::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickItem::itemChange(change, data);
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange) {
        polish();
    }
}

/// Qt polishes an item once before a frame, however many properties changed, and only in a window.
void Thumbnail::updatePolish() {
    if (store_ == nullptr || window() == nullptr || url_.isEmpty() || size().isEmpty()) {
        return;
    }
    const qreal ratio = window()->effectiveDevicePixelRatio();
    const ThumbnailStore::Shape shape{(size() * ratio).toSize(), radius_ * ratio};
    show(store_->kept(url_, shape));
    request_ = store_->request(url_, shape, [this](const QImage& image) { show(image); });
}

void Thumbnail::show(const QImage& image) {
    if (image.cacheKey() == image_.cacheKey()) {
        return;
    }
    const bool wasFilled = isFilled();
    image_ = image;
    imageChanged_ = true;
    update();
    if (wasFilled != isFilled()) {
        emit filledChanged();
    }
}

QSGNode* Thumbnail::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
    std::unique_ptr<QSGImageNode> node(static_cast<QSGImageNode*>(old));
    if (image_.isNull()) {
        return nullptr;
    }
    if (!node) {
        node.reset(window()->createImageNode());
        node->setOwnsTexture(true);
        imageChanged_ = true;
    }
    if (imageChanged_) {
        node->setTexture(window()->createTextureFromImage(image_));
        imageChanged_ = false;
    }
    node->setFiltering(QSGTexture::Linear);
    node->setRect(boundingRect());
    return node.release();
}

} // namespace tarnwick
