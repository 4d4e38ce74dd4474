#include "Tarnwick/Views/Comparison/TileGrid.h"

#include <algorithm>
#include <cmath>

namespace tarnwick {

TileGrid::TileGrid(QSizeF picture, int level) : level_(level), size_(picture / std::exp2(level)) {}

std::vector<TileKey> TileGrid::tilesIn(const QRectF& view, const QRectF& rect) const {
    const QRectF meeting = view.intersected(rect);
    std::vector<TileKey> tiles;
    if (meeting.isEmpty()) {
        return tiles;
    }
    const auto number = [](qreal distance, qreal whole, qreal side) {
        return static_cast<std::int64_t>(distance / whole * side / tileSize);
    };
    // The far edge is exclusive: a tile that begins there is not visible.
    const auto last = [](qreal distance, qreal whole, qreal side) {
        return static_cast<std::int64_t>(std::ceil(distance / whole * side / tileSize)) - 1;
    };
    const std::int64_t left = number(meeting.left() - rect.left(), rect.width(), size_.width());
    const std::int64_t right = last(meeting.right() - rect.left(), rect.width(), size_.width());
    const std::int64_t top = number(meeting.top() - rect.top(), rect.height(), size_.height());
    const std::int64_t bottom = last(meeting.bottom() - rect.top(), rect.height(), size_.height());
    for (std::int64_t row = top; row <= bottom; ++row) {
        for (std::int64_t column = left; column <= right; ++column) {
            tiles.push_back({level_, column, row});
        }
    }
    return tiles;
}

QRectF TileGrid::shown(const TileKey& tile) const {
    const QRectF whole(static_cast<qreal>(tile.column * tileSize), static_cast<qreal>(tile.row * tileSize),
                       tileSize, tileSize);
    return whole.intersected(QRectF(QPointF(), size_));
}

QRectF TileGrid::held(const TileKey& tile) const {
    const QRectF bounds(0, 0, std::ceil(size_.width()), std::ceil(size_.height()));
    return shown(tile).adjusted(-1, -1, 1, 1).intersected(bounds).toAlignedRect();
}

QRectF TileGrid::place(const TileKey& tile, const QRectF& rect) const {
    const QRectF part = shown(tile);
    const auto across = [&](qreal x) { return rect.left() + x / size_.width() * rect.width(); };
    const auto down = [&](qreal y) { return rect.top() + y / size_.height() * rect.height(); };
    return {QPointF(across(part.left()), down(part.top())),
            QPointF(across(part.right()), down(part.bottom()))};
}

} // namespace tarnwick
