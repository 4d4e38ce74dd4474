#pragma once

#include "Foundation/Date.h"
#include "History/UndoStore.h"
#include "Tarnwick/Model/ComparisonItem.h"

namespace tarnwick {

/// What is needed to compare a compressed file with its original, once both are proven to be those of the
/// record. Blocks on the disk. Throws CompressionError (expired, missing or damaged backup, changed file, no
/// picture) and FileSystemError.
ComparisonItem prepareComparison(const UndoStore& store, const UndoRecord& record, Date now);

} // namespace tarnwick
