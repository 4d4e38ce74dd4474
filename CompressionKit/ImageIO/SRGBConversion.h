#pragma once

#include "ImageIO/ColorProfile.h"
#include "ImageIO/LittleCMS.h"

#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>

namespace tarnwick {

/// Converts pixels from a picture's colour space to sRGB. Pixels that are sRGB already, or whose profile
/// cannot be used, do not change. Belongs to one thread.
class SRGBConversion {
public:
    explicit SRGBConversion(const ColorProfile& profile);

    /// Converts straight RGBA, 8 bits a component and at most 2^32 - 1 pixels, in place; alpha stays.
    void convert(std::span<std::uint8_t> rgba) const;

private:
    struct DeleteTransform {
        void operator()(cmsHTRANSFORM transform) const noexcept { cmsDeleteTransform(transform); }
    };

    ContextHandle context_;
    std::unique_ptr<std::remove_pointer_t<cmsHTRANSFORM>, DeleteTransform> transform_;
};

} // namespace tarnwick
