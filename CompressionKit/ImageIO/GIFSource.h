#pragma once

#include "ImageIO/ImageSource.h"

#include <cstdint>
#include <cstdio>

namespace tarnwick {

/// A rectangle of the canvas.
struct GIFArea {
    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
};

/// GIF. The constructor walks the whole file without decoding a frame, and refuses one that ends early.
class GIFSource final : public ImageSource {
public:
    GIFSource(const URL& url, const ImageLimits& limits);
    std::unique_ptr<FrameReader> frames() const override;

private:
    void readInfo(std::FILE* file);

    /// What the images cover together. The rest of the canvas is always transparent, and takes no memory.
    GIFArea covered_;
};

} // namespace tarnwick
