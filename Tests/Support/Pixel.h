#pragma once

#include "Foundation/FileContents.h"

#include <cstdint>
#include <functional>

namespace tarnwick::test {

/// A straight RGBA pixel.
struct Pixel {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;

    friend bool operator==(const Pixel&, const Pixel&) = default;
};

/// What a made picture shows at each place, counted from its top-left.
using Pattern = std::function<Pixel(std::int64_t x, std::int64_t y)>;

/// Opaque, smooth in both directions and different at every place of a picture of up to 64 × 64.
Pixel gradient(std::int64_t x, std::int64_t y);
/// Like gradient(), with every alpha value from 0 to 255 somewhere in a picture of 16 × 16 or more.
Pixel translucentGradient(std::int64_t x, std::int64_t y);
/// Opaque noise, the same in every run; hardly compressible.
Pixel noise(std::int64_t x, std::int64_t y);

/// The rows of a picture, RGBA, as a FrameReader gives them.
Bytes rgbaRows(std::int64_t width, std::int64_t height, const Pattern& pattern);

/// An EXIF block (the TIFF part alone) that states only this orientation.
Bytes exifBlock(int orientation, bool bigEndian = false);

} // namespace tarnwick::test
