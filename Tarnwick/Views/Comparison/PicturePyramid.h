#pragma once

#include "ImageIO/Bitmap.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tarnwick {

/// A picture and smaller levels of it, each half the size of the one before, so that drawing it small does
/// not read all of its pixels. Immutable and thread-safe.
class PicturePyramid {
public:
    /// Levels are added until the longer side is at most this.
    static constexpr std::int64_t smallestLevel = 1024;

    /// Computes all levels, which takes about as long as reading all pixels twice.
    explicit PicturePyramid(std::shared_ptr<const Bitmap> picture);

    std::int64_t width() const noexcept { return levels_.front()->width; }
    std::int64_t height() const noexcept { return levels_.front()->height; }
    int levelCount() const noexcept { return static_cast<int>(levels_.size()); }
    /// Level 0 is the picture itself. A pixel of level n is the mean of 2ⁿ × 2ⁿ of its pixels.
    const std::shared_ptr<const Bitmap>& level(int number) const;
    /// The smallest level with at least one pixel for each device pixel, when the picture is drawn with
    /// `scale` device pixels per pixel.
    int levelFor(double scale) const noexcept;
    bool isOpaque() const noexcept { return opaque_; }

private:
    std::vector<std::shared_ptr<const Bitmap>> levels_;
    bool opaque_;
};

} // namespace tarnwick
