#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace tarnwick {

/// The orientation, 1 to 8, in an EXIF block: the TIFF part, with or without "Exif" and two zero bytes before
/// it. None when it is absent or not a valid value.
std::optional<int> exifOrientation(std::span<const std::uint8_t> exif);

} // namespace tarnwick
