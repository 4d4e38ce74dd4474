#pragma once

#include "ImageIO/ColorProfile.h"
#include "ImageIO/ImageSource.h"
#include "ImageIO/InputFile.h"

#include <cstdint>
#include <optional>

namespace tarnwick {

/// What a PNG says in chunks that libpng does not know, or only gives once the pixels are decoded.
struct PNGChunks {
    /// cICP
    std::optional<CodePoints> codePoints;
    /// acTL; 1 for a still picture.
    std::int64_t frameCount = 1;
    /// eXIf
    std::optional<int> orientation;
};

/// Walks over the chunks from the file's start. Damaged chunks, and those in a place where they must not
/// stand, count as absent; where the walk finds no further chunk it ends.
PNGChunks readPNGChunks(InputFile& file, const ImageLimits& limits);

} // namespace tarnwick
