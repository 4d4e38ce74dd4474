#pragma once

#include "Foundation/URL.h"
#include "ImageIO/BitmapContext.h"
#include "ImageIO/ImageSource.h"

#include <cstdint>
#include <optional>

namespace tarnwick {

/// Decodes the primary image of a file (the first frame of an animation) as it is to be shown: turned by its
/// orientation, in sRGB, its longer side at most `maximumPixelSize` pixels; never enlarged. The file is read
/// whole, whatever the size asked for. A smaller picture is made while a JPEG or a PNG that is not interlaced
/// is decoded, so that it takes little memory.
///
/// Throws CompressionError::invalidImage for a file that is no whole picture, a picture that is too large to
/// be held, or a maximum below 1; FileSystemError.
Bitmap decodeForDisplay(const URL& url, std::optional<std::int64_t> maximumPixelSize,
                        const ImageLimits& limits = {});

} // namespace tarnwick
