#pragma once

#include "Foundation/URL.h"
#include "Inspection/GIFFrameExport.h"
#include "Inspection/ImageKind.h"
#include "Inspection/JPEGQuantization.h"
#include "Inspection/PixelEquivalence.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// The structure of one image file, and the checks by which a result may replace an original. All functions
/// are free of shared state and may run on any thread.
struct ImageFacts {
    ImageKind kind;
    /// Pixels of the first image as stored, not corrected for orientation.
    std::int64_t width = 0;
    std::int64_t height = 0;
    /// 1 for a still picture, the frames of an animated one.
    std::int64_t frameCount = 1;
    bool hasAlpha = false;
    std::optional<std::string> profileName = std::nullopt;
    /// EXIF orientation, 1 to 8.
    std::int64_t orientation = 1;
    /// JPEG: whether the file states that further pictures follow the first.
    bool hasJPEGMultiPictureData = false;
    std::optional<std::int64_t> gifLoopCount = std::nullopt;
    /// GIF: seconds, one entry a frame. Empty for other kinds.
    std::vector<double> gifFrameDelays = {};

    friend bool operator==(const ImageFacts&, const ImageFacts&) = default;

    /// Reads the file's structure and decodes its first image whole. Throws CompressionError::formatMismatch
    /// when the content is of another kind than the name's extension, CompressionError::invalidImage for an
    /// unknown extension, or when the file cannot be opened and decoded to the end of its first image.
    static ImageFacts inspect(const URL& url);

    /// Whether a file with the facts `other` may replace one with these. `allowSRGBConversion` lets a
    /// Display P3 PNG become an sRGB one. Alpha and multi-picture data are not compared.
    bool compatible(const ImageFacts& other, bool allowSRGBConversion) const;

    // The checks over whole files; each has a header of its own.
    static constexpr auto& hasFineJPEGQuantization = tarnwick::hasFineJPEGQuantization;
    static constexpr auto& pixelBandsEqual = tarnwick::pixelBandsEqual;
    static constexpr auto& pixelsEqual = tarnwick::pixelsEqual;
    static constexpr auto& alphaDeviationWithin = tarnwick::alphaDeviationWithin;
    static constexpr auto& quantizedAlphaWithin = tarnwick::quantizedAlphaWithin;
    static constexpr auto& gifFramesEqual = tarnwick::gifFramesEqual;
    static constexpr auto& exportGIFFrames = tarnwick::exportGIFFrames;
};

} // namespace tarnwick
