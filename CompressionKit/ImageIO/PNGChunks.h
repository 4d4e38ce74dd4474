#pragma once

#include "ImageIO/ColorProfile.h"
#include "ImageIO/ImageSource.h"
#include "ImageIO/InputFile.h"

#include <cstdint>
#include <optional>

namespace tarnwick {

/// The contents of chunks that libpng does not know, or returns only after the pixels.
struct PNGChunks {
    /// cICP
    std::optional<CodePoints> codePoints;
    /// acTL; 1 for a still picture.
    std::int64_t frameCount = 1;
    /// eXIf
    std::optional<int> orientation;
};

/// Walks over the chunks from the file's start until it finds no further chunk. Damaged and misplaced chunks
/// count as absent.
PNGChunks readPNGChunks(InputFile& file, const ImageLimits& limits);

} // namespace tarnwick
