#pragma once

#include "Inspection/ImageFacts.h"

#include <cstdint>
#include <string_view>

namespace tarnwick {

/// The most bytes of memory that a run of `tool` (a name in Tool) needs for a picture of `frames` frames with
/// `canvasPixels` pixels each.
std::int64_t toolMemory(std::string_view tool, std::int64_t canvasPixels, std::int64_t frames = 1);

/// The same for the picture with these facts.
std::int64_t toolMemory(std::string_view tool, const ImageFacts& facts);

} // namespace tarnwick
