#pragma once

#include "Foundation/URL.h"

#include <cstdint>
#include <vector>

/// Two files for a palette that all frames of an animation share: a contact sheet, from which a quantizer
/// computes it, and a colour map, which hands it to the GIF encoder.
namespace tarnwick::GIFPalette {

constexpr std::int64_t maximumTiles = 8;

/// Where the sample frames are on the sheet. Sizes in pixels.
struct ContactSheetLayout {
    std::int64_t tileWidth = 0;
    std::int64_t tileHeight = 0;
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    /// Indices of the frames shown: evenly spread, with the first and the last.
    std::vector<std::int64_t> frames;

    /// For `frameCount` (at least 1) frames, the first of which has this size.
    static ContactSheetLayout make(std::int64_t frameCount, std::int64_t width, std::int64_t height);
};

/// Lays up to `maximumTiles` of the frames (picture files) side by side into one PNG, the first row at the
/// bottom. Throws CompressionError::invalidImage, or FileSystemError on a full disk; a failure leaves no
/// file.
void writeContactSheet(const std::vector<URL>& frames, const URL& destination);

/// Writes the palette of an indexed PNG as the global colour table of a GIF of 799 bytes; unused
/// entries repeat the last colour. Throws CompressionError::invalidImage when there is no usable palette,
/// FileSystemError.
void writeColorMap(const URL& source, const URL& destination);

} // namespace tarnwick::GIFPalette
