#pragma once

#include "ImageIO/ImageSource.h"

namespace tarnwick {

/// GIF. Opening it walks the whole file, so that one that ends early is refused, but decodes no frame.
class GIFSource final : public ImageSource {
public:
    GIFSource(const URL& url, const ImageLimits& limits);
    std::unique_ptr<FrameReader> frames() const override;
};

} // namespace tarnwick
