#pragma once

#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"

namespace tarnwick {

/// Throws CompressionError::invalidImage unless the condition holds.
inline void requireImage(bool condition) {
    if (!condition) {
        throw CompressionError::invalidImage();
    }
}

/// Returns what `body` returns. Its FileSystemError becomes CompressionError::invalidImage.
template <typename Body>
auto unreadableAsInvalidImage(Body body) {
    try {
        return body();
    } catch (const FileSystemError&) {
        throw CompressionError::invalidImage();
    }
}

} // namespace tarnwick
