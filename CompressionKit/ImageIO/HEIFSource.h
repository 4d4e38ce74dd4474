#pragma once

#include "ImageIO/ImageSource.h"

namespace tarnwick {

/// HEIC and HEIF: the primary image, decoded whole.
class HEIFSource final : public ImageSource {
public:
    HEIFSource(const URL& url, const ImageLimits& limits);
    std::unique_ptr<FrameReader> frames() const override;
};

} // namespace tarnwick
