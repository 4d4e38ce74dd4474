#pragma once

#include "Foundation/URL.h"

#include <vector>

namespace tarnwick {

/// Writes every composited frame as "frame-<i>.png" into `directory`, which is created when missing, also in
/// missing folders, and returns the files in frame order. A frame without transparent pixels is written
/// without alpha. After a failure the frames already written stay. Throws CompressionError::invalidImage,
/// CompressionError::fileOperation when a frame's file cannot be created, FileSystemError for the folder or a
/// full disk.
std::vector<URL> exportGIFFrames(const URL& source, const URL& directory);

/// The same for a folder in a work folder, which must exist: when it is missing, its parent was renamed.
std::vector<URL> exportWorkFrames(const URL& source, const URL& directory);

} // namespace tarnwick
