#pragma once

#include "Foundation/FileContents.h"
#include "Foundation/URL.h"
#include "ImageIO/ColorProfile.h"
#include "Support/Pixel.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test {

/// A picture whose boxes are put together one by one around HEVC data that the encoding library makes without
/// loss, so that decoding gives the pattern back exactly (but for depths above 8 bits, which round).
struct HEIFOptions {
    /// Of the coded picture, before any crop or rotation. Tiles must have even sides of at least 64.
    std::int64_t width = 96;
    std::int64_t height = 64;
    Pattern pattern = gradient;
    /// 8, 10 or 12. Deeper samples are the pattern's, scaled.
    int bits = 8;
    /// Takes the red value.
    bool monochrome = false;
    /// Adds an alpha picture of the pattern's alpha values.
    bool alpha = false;
    /// Marks the colours as premultiplied; they are stored as the pattern gives them.
    bool premultiplied = false;
    /// Of the alpha picture, when it is to differ from the picture's.
    std::optional<std::int64_t> alphaWidth = {};
    int columns = 1;
    int rows = 1;

    /// Whole boxes, made by irot(), imir() and clap(), in the order in which they apply.
    std::vector<Bytes> transformations = {};
    /// Those of the alpha picture, when they are to differ from the picture's.
    std::optional<std::vector<Bytes>> alphaTransformations = {};
    Bytes icc = {};
    /// The matrix is always identity (RGB), in full range.
    std::optional<CodePoints> codePoints = {};
    /// The TIFF part alone.
    Bytes exif = {};
    /// Adds a gain map and a tone map over the picture; the gain map and the EXIF block belong to both.
    bool toneMap = false;

    /// Pictures of equal rank, all alike.
    int pictures = 1;
    /// Adds a movie with a track of so many samples.
    std::optional<std::uint32_t> sequenceSamples = {};
    std::string majorBrand = "heic";
};

Bytes heifBytes(const HEIFOptions& options);
void writeHEIF(const URL& url, const HEIFOptions& options = {});

/// Rotation by so many quarter turns anticlockwise.
Bytes irot(int quarterTurns);
/// 0 exchanges top and bottom, 1 left and right.
Bytes imir(int axis);
/// A crop to this size; the offsets are those of its centre from the picture's, in halves of a pixel.
Bytes clap(std::uint32_t width, std::uint32_t height, std::int32_t halvesRight, std::int32_t halvesDown);
/// The transformations by which a picture is shown in this EXIF orientation.
std::vector<Bytes> transformationsFor(int orientation);

Bytes box(std::string_view type, std::span<const std::uint8_t> payload);
/// A box with a version and flags.
Bytes fullBox(std::string_view type, std::uint8_t version, std::uint32_t flags,
              std::span<const std::uint8_t> payload);

} // namespace tarnwick::test
