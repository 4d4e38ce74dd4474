#pragma once

#include "Engine/CompressionResult.h"
#include "Engine/Original.h"
#include "Foundation/UUID.h"
#include "History/UndoStore.h"

namespace tarnwick {

/// Writes the backup and the undo record to the disk, then replaces the original by the winner, which gets
/// the original's attributes. Returns the committed record. When a step fails, the original is put back and
/// the record deleted. Throws CompressionError (changedDuringCompression when another program changed the
/// file) or FileSystemError.
UndoRecord replaceOriginal(const UndoStore& undo, const Original& original, const Candidate& winner,
                           const UUID& sessionID);

} // namespace tarnwick
