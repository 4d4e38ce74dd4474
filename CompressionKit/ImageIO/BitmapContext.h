#pragma once

#include "ImageIO/Bitmap.h"

#include <cstdint>

namespace tarnwick {

/// A canvas in memory that pictures are drawn on, without any colour conversion.
class BitmapContext {
public:
    /// A transparent canvas. Throws CompressionError::invalidImage for a size that is not renderable.
    BitmapContext(std::int64_t width, std::int64_t height);

    /// Draws the picture over the canvas, scaled to fill the rectangle whose top-left corner is (x, y) from
    /// the canvas's top-left. The filter averages when it shrinks.
    void draw(const Bitmap& picture, std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height);

    const Bitmap& bitmap() const noexcept { return bitmap_; }

private:
    Bitmap bitmap_;
};

} // namespace tarnwick
