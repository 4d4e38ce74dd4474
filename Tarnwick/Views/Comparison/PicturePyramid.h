#pragma once

#include "ImageIO/Bitmap.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tarnwick {

/// A picture and its halvings, so that drawing it small never touches all of its pixels. Immutable, and as
/// such for any thread.
class PicturePyramid {
public:
    /// Levels are halved until the longer side is at most this.
    static constexpr std::int64_t smallestLevel = 1024;

    /// Computes the levels, which takes about as long as reading all pixels twice.
    explicit PicturePyramid(std::shared_ptr<const Bitmap> picture);

    std::int64_t width() const noexcept { return levels_.front()->width; }
    std::int64_t height() const noexcept { return levels_.front()->height; }
    int levelCount() const noexcept { return static_cast<int>(levels_.size()); }
    /// Level 0 is the picture itself; a pixel of level n stands for 2ⁿ × 2ⁿ of its pixels.
    const std::shared_ptr<const Bitmap>& level(int number) const;
    /// The smallest level that still has a pixel for each device pixel when the picture is drawn at `scale`
    /// device pixels a pixel.
    int levelFor(double scale) const noexcept;
    bool isOpaque() const noexcept { return opaque_; }

private:
    std::vector<std::shared_ptr<const Bitmap>> levels_;
    bool opaque_;
};

} // namespace tarnwick
