#pragma once

#include "Foundation/FileVersion.h"
#include "Foundation/URL.h"
#include "Inspection/ImageFacts.h"

#include <cstdint>
#include <string>

namespace tarnwick {

/// The user's file as it was before the compression.
struct Original {
    URL url;
    ImageFacts facts;
    std::int64_t bytes = 0;
    /// SHA-256.
    std::string hash;
    /// Taken before anything else was read.
    FileVersion version;
};

/// The error text for a folder, a link, a pipe or a device.
constexpr auto notARegularFile = "请选择普通图片文件";

/// Whether the file at `url` is the original and has its hash. Throws FileSystemError.
bool isUnchanged(const Original& original, const URL& url);

/// Throws CompressionError::changedDuringCompression when another file, or a link, has the original's name,
/// or when its hash differs from the recorded one.
void requireUnchanged(const Original& original);

} // namespace tarnwick
