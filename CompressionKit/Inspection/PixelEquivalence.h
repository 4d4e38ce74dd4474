#pragma once

#include "Foundation/URL.h"

#include <cstdint>
#include <functional>
#include <span>

namespace tarnwick {

// The pixel checks compare what two files decode to, in bands of about a mebipixel, as premultiplied RGBA of
// 8 bits without colour conversion. They throw nothing for a file: one that cannot be opened, decoded or
// compared is not equivalent.

/// Judges one band of both pictures. False ends the comparison: the pictures are not equivalent.
using BandCheck =
    std::function<bool(std::span<const std::uint8_t> reference, std::span<const std::uint8_t> candidate)>;

/// Walks the first images of both files in bands. True when they have one size and every band passes.
bool pixelBandsEqual(const URL& reference, const URL& candidate, const BandCheck& check);
/// Whether the first images of both files are equal byte for byte.
bool pixelsEqual(const URL& reference, const URL& candidate);
/// Whether every pixel's alpha differs by at most `tolerance`. Colours are not compared.
bool alphaDeviationWithin(const URL& reference, const URL& candidate, std::uint8_t tolerance);
/// Whether a palette-quantized candidate kept the reference's alpha: no opaque pixel became clearly
/// translucent, no transparent pixel visible, and the deviations over the whole picture are small.
bool quantizedAlphaWithin(const URL& reference, const URL& candidate);
/// Whether both animations have the same number of frames and every composited frame is equal byte for byte.
bool gifFramesEqual(const URL& a, const URL& b);

} // namespace tarnwick
