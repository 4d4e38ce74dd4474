#pragma once

#include "Foundation/URL.h"

#include <cstdint>
#include <vector>

/// The two files by which one palette is found for a whole animation and handed to the GIF encoder.
namespace tarnwick::GIFPalette {

/// How many frames a sheet shows at most.
constexpr std::int64_t mostTiles = 8;

/// How sample frames stand on the sheet. Sizes in pixels.
struct ContactSheetLayout {
    std::int64_t tileWidth = 0;
    std::int64_t tileHeight = 0;
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    /// Indices of the frames shown, spread evenly, the first and the last among them.
    std::vector<std::int64_t> frames;

    /// For `frameCount` (at least 1) frames, the first of which has this size.
    static ContactSheetLayout make(std::int64_t frameCount, std::int64_t width, std::int64_t height);
};

/// Lays up to `mostTiles` of the frames (picture files) side by side into one PNG, the first row at the
/// bottom. Throws CompressionError::invalidImage, or FileSystemError on a full disk; nothing is left at the
/// destination then.
void writeContactSheet(const std::vector<URL>& frames, const URL& destination);

/// Writes the palette of an indexed PNG as a GIF of 799 bytes whose global colour table it is, filled up with
/// its last colour. Throws CompressionError::invalidImage when there is no usable palette, FileSystemError.
void writeColorMap(const URL& source, const URL& destination);

} // namespace tarnwick::GIFPalette
