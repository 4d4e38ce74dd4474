#pragma once

#include "ImageIO/ImageSource.h"

namespace tarnwick {

/// JPEG in every form that libjpeg-turbo decodes, CMYK and YCCK included. Its first image only.
class JPEGSource final : public ImageSource {
public:
    JPEGSource(const URL& url, const ImageLimits& limits);
    std::unique_ptr<FrameReader> frames() const override;
    /// Reduces in the cosine transform, by eighths.
    ReducedFrames reducedFrames(std::int64_t width, std::int64_t height) const override;
};

} // namespace tarnwick
