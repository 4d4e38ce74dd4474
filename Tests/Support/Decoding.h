#pragma once

#include "Foundation/FileContents.h"
#include "Foundation/URL.h"
#include "ImageIO/ImageSource.h"

#include <cstdint>

namespace tarnwick::test {

/// All rows of one of the file's images, RGBA, read in bands of `bandRows`. Throws as ImageSource does.
Bytes decoded(const URL& url, std::int64_t image = 0, std::int64_t bandRows = 7,
              const ImageLimits& limits = {});

/// Whether opening the file, or decoding its first image, throws CompressionError::invalidImage. Any other
/// failure propagates.
bool isRefused(const URL& url, const ImageLimits& limits = {});
bool isRefused(const Bytes& file, const ImageLimits& limits = {});

} // namespace tarnwick::test
