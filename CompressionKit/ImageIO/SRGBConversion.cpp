#include "ImageIO/SRGBConversion.h"

#include "ImageIO/Bitmap.h"

#include <cstddef>
#include <vector>

namespace tarnwick {

SRGBConversion::SRGBConversion(const ColorProfile& profile) {
    const std::vector<std::uint8_t> icc =
        profile.isSRGB() ? std::vector<std::uint8_t>() : profile.iccForDisplay();
    if (icc.empty()) {
        return;
    }
    context_ = makeContext();
    const ProfileHandle from(
        cmsOpenProfileFromMemTHR(context_.get(), icc.data(), static_cast<cmsUInt32Number>(icc.size())));
    const ProfileHandle to(cmsCreate_sRGBProfileTHR(context_.get()));
    if (from && to) {
        transform_.reset(cmsCreateTransformTHR(context_.get(), from.get(), TYPE_RGBA_8, to.get(), TYPE_RGBA_8,
                                               INTENT_PERCEPTUAL, cmsFLAGS_COPY_ALPHA));
    }
}

void SRGBConversion::convert(std::span<std::uint8_t> rgba) const {
    if (transform_) {
        cmsDoTransform(transform_.get(), rgba.data(), rgba.data(),
                       static_cast<cmsUInt32Number>(rgba.size() / bytesPerPixel));
    }
}

} // namespace tarnwick
