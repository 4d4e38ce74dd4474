#pragma once

#include "Tarnwick/Views/List/ThumbnailStore.h"

#include <QImage>
#include <QQuickItem>
#include <QUrl>

namespace tarnwick {

/// Draws the thumbnail of a picture file, with round corners.
class Thumbnail : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarnwick::ThumbnailStore* store READ store WRITE setStore NOTIFY storeChanged REQUIRED FINAL)
    Q_PROPERTY(QUrl url READ url WRITE setUrl NOTIFY urlChanged FINAL)
    Q_PROPERTY(qreal radius READ radius WRITE setRadius NOTIFY radiusChanged FINAL)
    /// Whether there is a thumbnail to draw.
    Q_PROPERTY(bool filled READ isFilled NOTIFY filledChanged FINAL)

public:
    explicit Thumbnail(QQuickItem* parent = nullptr);

    ThumbnailStore* store() const noexcept { return store_; }
    void setStore(ThumbnailStore* store);
    const QUrl& url() const noexcept { return url_; }
    void setUrl(const QUrl& url);
    qreal radius() const noexcept { return radius_; }
    void setRadius(qreal radius);
    bool isFilled() const { return !image_.isNull(); }

signals:
    void storeChanged();
    void urlChanged();
    void radiusChanged();
    void filledChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
    void updatePolish() override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    void show(const QImage& image);

    ThumbnailStore* store_ = nullptr;
    QUrl url_;
    qreal radius_ = 0;
    QImage image_;
    bool imageChanged_ = false;
    ThumbnailRequest request_;
};

} // namespace tarnwick
