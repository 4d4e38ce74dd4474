#pragma once

#include "Foundation/URL.h"

#include <cstdint>

namespace tarnwick::JPEGMetadata {

/// Whether the JPEG has a Multi-Picture index (CIPA DC-007) with more than one picture. Reads the first MiB;
/// every failure is false.
bool hasMultiplePictures(const URL& url);

/// Makes the JPEG state this EXIF orientation. Where it states another one, or none and this is not 1, one
/// EXIF segment with only the orientation replaces all EXIF segments. The file is replaced in one step or
/// stays untouched. Throws CompressionError::validationFailed for an orientation outside 1 to 8,
/// CompressionError::invalidImage for a file that is no JPEG or malformed before its first scan,
/// FileSystemError.
void preserveOrientation(std::int64_t orientation, const URL& url);

} // namespace tarnwick::JPEGMetadata
