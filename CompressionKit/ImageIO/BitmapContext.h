#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tarnwick {

/// A decoded picture in memory: premultiplied RGBA, 8 bits a component, rows of width × 4 bytes, top-down.
struct Bitmap {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<std::uint8_t> pixels;
};

/// Turns straight RGBA into premultiplied RGBA in place, rounding to nearest; fully transparent pixels become
/// 0,0,0,0.
void premultiply(std::span<std::uint8_t> rgba);
/// The reverse, rounding to nearest; fully transparent pixels become 0,0,0,0.
void unpremultiply(std::span<std::uint8_t> rgba);

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
