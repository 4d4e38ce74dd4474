#pragma once

#include "ImageIO/ColorProfile.h"
#include "ImageIO/LittleCMS.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarnwick {

/// An embedded ICC profile, opened. The bytes must outlive it.
class ICCProfile {
public:
    /// None when the bytes are no whole profile, or unreasonably many.
    static std::optional<ICCProfile> open(std::span<const std::uint8_t> icc);

    ~ICCProfile() = default;
    ICCProfile(ICCProfile&&) = default;
    // Would end the old context before the old profile.
    ICCProfile& operator=(ICCProfile&&) = delete;

    /// The profile's name for itself in English, fit for people; empty when it has none, or an absurdly long
    /// one.
    std::string description() const;
    /// Which space the profile's curves and primaries are, within small tolerances. Grey ones with the curve
    /// of sRGB are sRGB. Whatever tables say is not measured, so that such a profile is of another space.
    KnownSpace measuredSpace() const;
    /// The profile by which RGB pixels look right: these bytes, or for a grey one whose values are spread to
    /// three components one made of its curve, described by `name`. Empty for other pixels.
    std::vector<std::uint8_t> forRGB(const std::string& name) const;

private:
    ICCProfile(std::span<const std::uint8_t> icc, ContextHandle context, ProfileHandle profile);

    bool isPlain() const;
    std::vector<std::uint8_t> spreadGray(const std::string& name) const;

    std::span<const std::uint8_t> icc_;
    ContextHandle context_;
    ProfileHandle profile_;
};

} // namespace tarnwick
