#pragma once

#include <QRectF>
#include <QSizeF>
#include <compare>
#include <cstdint>
#include <vector>

namespace tarnwick {

/// Which tile of which level.
struct TileKey {
    int level = 0;
    std::int64_t column = 0;
    std::int64_t row = 0;

    friend auto operator<=>(const TileKey&, const TileKey&) = default; // NOLINT(modernize-use-nullptr)
};

/// Where the tiles of one level of a picture lie: arithmetic only.
class TileGrid {
public:
    /// With its border a tile stays below the 2048 pixels that any graphics card takes.
    static constexpr std::int64_t tileSize = 1024;

    /// `picture` is the full size in pixels, not empty; `level` the number of halvings.
    TileGrid(QSizeF picture, int level);

    /// The tiles that `view` meets when the whole picture lies at `rect`.
    std::vector<TileKey> tilesIn(const QRectF& view, const QRectF& rect) const;
    /// The part of the level, in its pixels, that a tile shows; at the right and lower end it may end within
    /// a pixel.
    QRectF shown(const TileKey& tile) const;
    /// The whole pixels that its texture holds: one more on each side, so that filtering leaves no seams.
    QRectF held(const TileKey& tile) const;
    /// Where the tile is drawn.
    QRectF place(const TileKey& tile, const QRectF& rect) const;

private:
    int level_;
    /// In pixels of the level, fractions included.
    QSizeF size_;
};

} // namespace tarnwick
