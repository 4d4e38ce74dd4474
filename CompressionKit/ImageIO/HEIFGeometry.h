#pragma once

#include "ImageIO/BoxReader.h"

#include <cstdint>
#include <span>

namespace tarnwick {

/// Which part of a coded picture is shown, and how it is turned.
struct HEIFGeometry {
    std::int64_t codedWidth = 0;
    std::int64_t codedHeight = 0;
    /// The part that is left after cropping, in the coded picture: not turned yet.
    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
    /// The EXIF orientation, 1 to 8, that has the effect of all rotations and mirrorings in their order; 1
    /// without any.
    int orientation = 1;

    friend bool operator==(const HEIFGeometry&, const HEIFGeometry&) = default;

    /// An uncropped, upright picture of the size that an "ispe" property states.
    static HEIFGeometry ofSizeProperty(std::span<std::uint8_t> payload);
    /// Applies a crop, rotation or mirroring property; all others change nothing. Throws
    /// CompressionError::invalidImage for a malformed property, or a crop beyond the picture.
    void apply(const Box& property);

    static bool isTransformation(std::uint32_t propertyType) noexcept;

private:
    void crop(std::span<std::uint8_t> payload);
};

} // namespace tarnwick
