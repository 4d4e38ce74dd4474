#pragma once

#include <QRectF>
#include <QSizeF>
#include <compare>
#include <cstdint>
#include <vector>

namespace tarnwick {

struct TileKey {
    int level = 0;
    std::int64_t column = 0;
    std::int64_t row = 0;

    friend auto operator<=>(const TileKey&, const TileKey&) = default; // NOLINT(modernize-use-nullptr)
};

/// The arithmetic of the tiles of one level of a picture.
class TileGrid {
public:
    /// With its border a tile stays below 2048 pixels, which every graphics card supports.
    static constexpr std::int64_t tileSize = 1024;

    /// `picture` is the full size in pixels and not empty; `level` is the number of halvings.
    TileGrid(QSizeF picture, int level);

    /// The tiles that intersect `view` when the whole picture is drawn in `rect`.
    std::vector<TileKey> tilesIn(const QRectF& view, const QRectF& rect) const;
    /// The part of the level that a tile shows, in the level's pixels. At the right and lower edges of the
    /// picture it may end within a pixel.
    QRectF shown(const TileKey& tile) const;
    /// The whole pixels in the tile's texture: one more on each side, so that filtering leaves no seams.
    QRectF held(const TileKey& tile) const;
    /// The rectangle in which the tile is drawn.
    QRectF place(const TileKey& tile, const QRectF& rect) const;

private:
    int level_;
    /// In pixels of the level, with fractions.
    QSizeF size_;
};

} // namespace tarnwick
