#pragma once

#include "Tarnwick/Views/Comparison/Picture.h"

#include <QQuickItem>
#include <QRectF>

namespace tarnwick {

/// Draws a picture of any size in tiles. Only visible tiles have a texture, taken from the level that fits
/// the scale.
class TiledPicture : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarnwick::Picture picture READ picture WRITE setPicture NOTIFY pictureChanged FINAL)
    /// The rectangle of the whole picture, in this item's coordinates.
    Q_PROPERTY(QRectF pictureRect READ pictureRect WRITE setPictureRect NOTIFY pictureRectChanged FINAL)
    /// How many tiles have a texture.
    Q_PROPERTY(int tileCount READ tileCount NOTIFY tileCountChanged FINAL)

public:
    explicit TiledPicture(QQuickItem* parent = nullptr);

    const Picture& picture() const noexcept { return picture_; }
    void setPicture(const Picture& picture);
    QRectF pictureRect() const noexcept { return rect_; }
    void setPictureRect(const QRectF& rect);
    int tileCount() const noexcept { return tileCount_; }

signals:
    void pictureChanged();
    void pictureRectChanged();
    void tileCountChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    void noteTileCount(int count);

    Picture picture_;
    QRectF rect_;
    int tileCount_ = 0;
};

} // namespace tarnwick
