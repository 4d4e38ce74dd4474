#pragma once

#include "Foundation/URL.h"
#include "Inspection/ImageKind.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarnwick {

/// The structure of one image file, and the checks by which a result may stand in for an original. All
/// functions are free of shared state and may run on any thread.
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
    /// JPEG: whether the file announces further pictures behind the first.
    bool hasJPEGMultiPictureData = false;
    std::optional<std::int64_t> gifLoopCount = std::nullopt;
    /// GIF: seconds, one entry a frame. Empty for other kinds.
    std::vector<double> gifFrameDelays = {};

    friend bool operator==(const ImageFacts&, const ImageFacts&) = default;

    /// Reads the file's structure and decodes its first image whole. Throws CompressionError::formatMismatch
    /// when the content is not what the name's extension promises, CompressionError::invalidImage when the
    /// name promises nothing, or the file cannot be opened and decoded to the end of its first image.
    static ImageFacts inspect(const URL& url);

    /// Whether a file with the facts `other` may stand in for one with these. `allowSRGBConversion` lets a
    /// Display P3 PNG become an sRGB one. Alpha and multi-picture data are not compared.
    bool compatible(const ImageFacts& other, bool allowSRGBConversion) const;

    /// Whether the JPEG's first luminance table is nearly all ones, as at the highest quality. Looks at the
    /// first MiB; every failure is false.
    static bool hasFineJPEGQuantization(const URL& url);

    // The pixel checks compare what both files decode to, in bands of about a mebipixel, as premultiplied
    // RGBA of 8 bits without colour conversion. They never throw for a file: whatever cannot be opened,
    // decoded or compared is not equivalent.

    /// Judges one band of both pictures (the reference first); false ends the comparison as not equivalent.
    using BandCheck =
        std::function<bool(std::span<const std::uint8_t> reference, std::span<const std::uint8_t> candidate)>;
    /// Walks the first images of both files in bands; true when they have one size and every band passes.
    static bool pixelBandsEqual(const URL& reference, const URL& candidate, const BandCheck& check);
    /// The same with the check that both bands are equal byte for byte.
    static bool pixelBandsEqual(const URL& reference, const URL& candidate);
    /// Whether every pixel's alpha differs by at most `tolerance`. Colours are not compared.
    static bool alphaDeviationWithin(const URL& reference, const URL& candidate, std::uint8_t tolerance);
    /// Whether a palette-quantized candidate kept the reference's alpha: no opaque pixel clearly translucent,
    /// no transparent pixel visible, and small deviations over the whole picture.
    static bool quantizedAlphaWithin(const URL& reference, const URL& candidate);
    /// Whether both animations have as many frames and every composited frame is equal byte for byte.
    static bool gifFramesEqual(const URL& a, const URL& b);

    /// Writes every composited frame as "frame-<i>.png" into `directory`, which is created when missing, and
    /// returns the files in frame order. A frame without any transparency is written without alpha. Files
    /// written before a failure stay. Throws CompressionError::invalidImage, CompressionError::fileOperation
    /// when a frame's file cannot be created, FileSystemError for the folder or a full disk.
    static std::vector<URL> exportGIFFrames(const URL& source, const URL& directory);
};

} // namespace tarnwick
