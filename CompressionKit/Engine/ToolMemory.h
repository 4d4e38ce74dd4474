#pragma once

#include "Inspection/ImageFacts.h"

#include <cstdint>
#include <string_view>

namespace tarnwick {

/// Bytes of memory that a run of the tool (one of Tool's names) needs at most for a picture whose canvas has
/// that many pixels, and that many frames.
std::int64_t toolMemory(std::string_view tool, std::int64_t canvasPixels, std::int64_t frames = 1);

/// The same for the picture with these facts.
std::int64_t toolMemory(std::string_view tool, const ImageFacts& facts);

} // namespace tarnwick
