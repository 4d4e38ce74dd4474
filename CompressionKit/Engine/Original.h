#pragma once

#include "Foundation/URL.h"
#include "Inspection/ImageFacts.h"

#include <cstdint>
#include <string>

namespace tarnwick {

/// The user's file as it was found before any work.
struct Original {
    URL url;
    ImageFacts facts;
    std::int64_t bytes = 0;
    /// SHA-256.
    std::string hash;
};

/// Throws CompressionError::changedDuringCompression when the file's bytes are not those that were found.
void requireUnchanged(const Original& original);

} // namespace tarnwick
