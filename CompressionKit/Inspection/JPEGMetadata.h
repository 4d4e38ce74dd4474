#pragma once

#include "Foundation/URL.h"

#include <cstdint>

namespace tarnwick::JPEGMetadata {

/// Whether the JPEG carries a Multi-Picture index (CIPA DC-007) that announces more than one picture. Looks
/// at the first MiB; every failure is false.
bool hasMultiplePictures(const URL& url);

/// Makes the JPEG state this EXIF orientation: where it states another, or none and it is not 1, all its EXIF
/// segments give way to one that holds nothing else. The file is replaced whole or stays untouched. Throws
/// CompressionError::validationFailed for an orientation outside 1 to 8, CompressionError::invalidImage for
/// what is no JPEG or malformed before its first scan, FileSystemError.
void preserveOrientation(std::int64_t orientation, const URL& url);

} // namespace tarnwick::JPEGMetadata
