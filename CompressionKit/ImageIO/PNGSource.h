#pragma once

#include "ImageIO/ImageSource.h"

namespace tarnwick {

/// PNG. An animated one counts its frames (acTL) and is decoded to its default image.
class PNGSource final : public ImageSource {
public:
    PNGSource(const URL& url, const ImageLimits& limits);
    std::unique_ptr<FrameReader> frames() const override;
};

} // namespace tarnwick
