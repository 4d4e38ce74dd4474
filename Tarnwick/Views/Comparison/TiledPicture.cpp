#include "Tarnwick/Views/Comparison/TiledPicture.h"

#include "Tarnwick/Views/Comparison/TileGrid.h"

#include <QImage>
#include <QQuickWindow>
#include <QSGImageNode>
#include <map>
#include <memory>

namespace tarnwick {

namespace {

/// From this many device pixels per pixel on, pixels are drawn as squares, not smoothed.
constexpr double crispScale = 3.0;

/// Shares the level's pixels and keeps them alive.
QImage cutOut(const std::shared_ptr<const Bitmap>& level, const QRect& part) {
    using Owner = std::shared_ptr<const Bitmap>;
    constexpr int components = 4;
    const auto stride = static_cast<qsizetype>(level->width) * components;
    const std::uint8_t* first =
        level->pixels.data() + part.y() * stride + static_cast<qsizetype>(part.x()) * components;
    auto owner = std::make_unique<Owner>(level);
    return {first,
            part.width(),
            part.height(),
            stride,
            QImage::Format_RGBA8888_Premultiplied,
            [](void* held) { delete static_cast<Owner*>(held); },
            owner.release()};
}

/// The nodes of the visible tiles. Qt deletes child nodes with their parent.
class TilesNode : public QSGNode {
public:
    void show(const Picture& picture, const QRectF& view, const QRectF& rect, QQuickWindow& window) {
        if (!(picture == picture_)) {
            drop([](const TileKey&) { return true; });
            picture_ = picture;
        }
        if (!picture.pyramid() || rect.isEmpty()) {
            drop([](const TileKey&) { return true; });
            return;
        }
        const double scale = rect.width() / picture.size().width() * window.effectiveDevicePixelRatio();
        const int level = picture.pyramid()->levelFor(scale);
        const TileGrid grid(picture.size(), level);
        const auto tiles = grid.tilesIn(view, rect);
        // A tile just outside the view is likely to become visible again soon.
        const QRectF near =
            view.adjusted(-view.width() / 2, -view.height() / 2, view.width() / 2, view.height() / 2);
        drop([&](const TileKey& key) {
            return key.level != level || !grid.place(key, rect).intersects(near);
        });
        for (const TileKey& tile : tiles) {
            ensure(tile, grid, window);
        }
        place(grid, rect, scale >= crispScale ? QSGTexture::Nearest : QSGTexture::Linear);
    }
    int count() const { return static_cast<int>(nodes_.size()); }

private:
    template <typename Condition>
    void drop(Condition condition) {
        for (auto each = nodes_.begin(); each != nodes_.end();) {
            if (condition(each->first)) {
                removeChildNode(each->second);
                delete each->second;
                each = nodes_.erase(each);
            } else {
                ++each;
            }
        }
    }
    void ensure(const TileKey& tile, const TileGrid& grid, QQuickWindow& window) {
        if (nodes_.contains(tile)) {
            return;
        }
        const QRect part = grid.held(tile).toRect();
        QQuickWindow::CreateTextureOptions options;
        options.setFlag(picture_.pyramid()->isOpaque() ? QQuickWindow::TextureIsOpaque
                                                       : QQuickWindow::TextureHasAlphaChannel);
        QSGImageNode* node = window.createImageNode();
        node->setTexture(
            window.createTextureFromImage(cutOut(picture_.pyramid()->level(tile.level), part), options));
        node->setOwnsTexture(true);
        node->setSourceRect(grid.shown(tile).translated(-part.topLeft()));
        appendChildNode(node);
        nodes_.emplace(tile, node);
    }
    void place(const TileGrid& grid, const QRectF& rect, QSGTexture::Filtering filtering) {
        for (const auto& [tile, node] : nodes_) {
            node->setRect(grid.place(tile, rect));
            node->setFiltering(filtering);
        }
    }

    Picture picture_;
    std::map<TileKey, QSGImageNode*> nodes_;
};

} // namespace

TiledPicture::TiledPicture(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
}

void TiledPicture::setPicture(const Picture& picture) {
    if (!(picture == picture_)) {
        picture_ = picture;
        update();
        emit pictureChanged();
    }
}

void TiledPicture::setPictureRect(const QRectF& rect) {
    if (rect != rect_) {
        rect_ = rect;
        update();
        emit pictureRectChanged();
    }
}

void TiledPicture::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    update();
}

void TiledPicture::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickItem::itemChange(change, data);
    if (change == ItemDevicePixelRatioHasChanged) {
        update();
    }
}

QSGNode* TiledPicture::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
    auto* node = old != nullptr ? static_cast<TilesNode*>(old) : new TilesNode;
    node->show(picture_, boundingRect(), rect_, *window());
#ifndef __clang_analyzer__ // It reports a leak of what Qt keeps for the event loop.
    // This function runs on the render thread while the main thread waits.
    QMetaObject::invokeMethod(
        this, [this, count = node->count()] { noteTileCount(count); }, Qt::QueuedConnection);
#endif
    return node;
}

void TiledPicture::noteTileCount(int count) {
    if (count != tileCount_) {
        tileCount_ = count;
        emit tileCountChanged();
    }
}

} // namespace tarnwick
