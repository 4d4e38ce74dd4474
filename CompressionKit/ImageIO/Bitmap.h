#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tarnwick {

/// Every decoded pixel is RGBA, 8 bits a component.
constexpr std::int64_t bytesPerPixel = 4;

/// A decoded picture in memory: premultiplied RGBA, 8 bits a component, rows of width × 4 bytes, top-down.
struct Bitmap {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<std::uint8_t> pixels;
};

/// Turns straight RGBA into premultiplied RGBA in place, rounding to nearest; fully transparent pixels become
/// 0,0,0,0.
void premultiply(std::span<std::uint8_t> rgba);
/// The reverse, rounding to nearest; fully transparent pixels become 0,0,0,0.
void unpremultiply(std::span<std::uint8_t> rgba);

} // namespace tarnwick
