#pragma once

#include "Engine/CompressionResult.h"
#include "Engine/Original.h"
#include "Foundation/URL.h"
#include "Foundation/UUID.h"
#include "History/UndoStore.h"

namespace tarnwick {

/// Converts a HEIC file to a PNG beside it, with its orientation applied and under a free name; the HEIC file
/// stays. Throws CompressionError or FileSystemError; then no new file is left.
CompressionResult compressHEIC(const UndoStore& undo, const Original& original, const UUID& sessionID,
                               const URL& workDirectory);

} // namespace tarnwick
