#pragma once

#include "Engine/CompressionResult.h"
#include "Engine/Original.h"
#include "Foundation/UUID.h"
#include "History/UndoStore.h"

namespace tarnwick {

/// Puts the winner in the original's place, with its attributes, under an undo record that is on the disk
/// before, and returns the committed record. When anything fails after that, the original is put back and the
/// record deleted. Throws CompressionError (changedDuringCompression when another program touched the file)
/// or FileSystemError.
UndoRecord replaceOriginal(const UndoStore& undo, const Original& original, const Candidate& winner,
                           const UUID& sessionID);

} // namespace tarnwick
