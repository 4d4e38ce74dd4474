#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace tarnwick {

/// Precedes the TIFF part of an EXIF block in JPEG.
constexpr std::string_view exifHeader("Exif\0\0", 6);

/// The orientation, 1 to 8, in an EXIF block: the TIFF part, with or without `exifHeader` before it. None
/// when it is absent or not a valid value.
std::optional<int> exifOrientation(std::span<const std::uint8_t> exif);

} // namespace tarnwick
