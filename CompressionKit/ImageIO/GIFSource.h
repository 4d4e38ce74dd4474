#pragma once

#include "ImageIO/ImageSource.h"

namespace tarnwick {

/// GIF. The constructor walks the whole file without decoding a frame, and refuses one that ends early.
class GIFSource final : public ImageSource {
public:
    GIFSource(const URL& url, const ImageLimits& limits);
    std::unique_ptr<FrameReader> frames() const override;
};

} // namespace tarnwick
