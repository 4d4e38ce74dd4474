#pragma once

#include "Foundation/URL.h"
#include "ImageIO/Bitmap.h"
#include "ImageIO/ImageSource.h"

#include <cstdint>
#include <optional>

namespace tarnwick {

/// Decodes the primary image of a file (the first frame of an animation) for display: turned by its
/// orientation, in sRGB, its longer side at most `maximumPixelSize` pixels; never enlarged. The file is
/// always read to its end. JPEG and non-interlaced PNG are reduced while they are decoded, which takes little
/// memory.
///
/// Throws CompressionError::invalidImage for a file that is not a complete picture, a picture beyond the
/// limits, or a maximum below 1; FileSystemError.
Bitmap decodeForDisplay(const URL& url, std::optional<std::int64_t> maximumPixelSize,
                        const ImageLimits& limits = {});

} // namespace tarnwick
