#pragma once

#include "Foundation/FileContents.h"
#include "Foundation/URL.h"
#include "ImageIO/ColorProfile.h"
#include "Support/Pixel.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace tarnwick::test {

/// The values are those of the file's colour type byte.
enum class PNGColor : std::uint8_t { grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgba = 6 };

/// A picture put together chunk by chunk, without a PNG library. The order of the members is that of the
/// chunks.
struct PNGOptions {
    std::int64_t width = 32;
    std::int64_t height = 24;
    PNGColor color = PNGColor::rgb;
    /// 1, 2, 4, 8 or 16, as the colour type allows. Samples below 8 bits are the pattern's upper bits, those
    /// of 16 bits are the pattern's value × 257.
    int depth = 8;
    bool interlaced = false;
    /// Grey pictures take the red value; those with a palette take it for the index.
    Pattern pattern = gradient;
    /// Instead of a pattern: the rows as they are to be deflated, each with its filter byte.
    Bytes filteredRows = {};

    /// Frames of an animation (acTL, fcTL, fdAT), the picture itself being the first. Frame n shows the
    /// pattern n pixels to the left.
    int animationFrames = 0;
    std::optional<CodePoints> codePoints = {};
    /// An ICC profile, not compressed yet.
    Bytes icc = {};
    std::optional<std::uint8_t> srgbIntent = {};
    /// In 100,000ths.
    std::optional<std::uint32_t> gamma = {};
    std::optional<Chromaticities> chromaticities = {};
    std::vector<Pixel> palette = {};
    /// The contents of tRNS, as the colour type wants them.
    Bytes transparency = {};
    Bytes exif = {};
    /// Whole chunks, made by pngChunk(), to stand before the first IDAT and before IEND.
    Bytes chunksBeforeData = {};
    Bytes chunksAfterData = {};
    /// Bytes in each IDAT chunk at most.
    std::size_t dataChunkBytes = 8192;
    /// zlib's; 0 stores the rows, which leaves the tools much to gain.
    int compressionLevel = 6;
};

Bytes pngBytes(const PNGOptions& options);
void writePNG(const URL& url, const PNGOptions& options = {});

/// A chunk with its length and checksum.
Bytes pngChunk(std::string_view type, std::span<const std::uint8_t> data);
/// A picture of these dimensions whose pixels are missing.
Bytes pngHeaderOnly(std::uint32_t width, std::uint32_t height, bool interlaced = false);

} // namespace tarnwick::test
