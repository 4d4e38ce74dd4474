#pragma once

#include "ImageIO/ColorProfile.h"
#include "ImageIO/LittleCMS.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarnwick {

/// An opened ICC profile. The bytes must outlive it.
class ICCProfile {
public:
    /// None when the bytes are not a complete profile, or exceed the limit.
    static std::optional<ICCProfile> open(std::span<const std::uint8_t> icc);

    ~ICCProfile() = default;
    ICCProfile(ICCProfile&&) = default;
    // Would delete the old context before the old profile.
    ICCProfile& operator=(ICCProfile&&) = delete;

    /// The English description as displayable text; empty when there is none, or a very long one.
    std::string description() const;
    /// The space that the profile's curves and primaries define, within small tolerances. Grey profiles with
    /// the curve of sRGB are sRGB. Tables are not measured: a profile with tables is another space.
    KnownSpace measuredSpace() const;
    /// The profile for the decoded RGB pixels: these bytes, or for a grey profile a new one with its curve,
    /// described by `name`. Empty for other kinds of pixels.
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
