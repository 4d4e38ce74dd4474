#pragma once

#include "Foundation/Date.h"
#include "History/UndoStore.h"
#include "Tarnwick/Model/ComparisonItem.h"

namespace tarnwick {

/// Checks that the backup and the compressed file are those of the record, and describes both for the
/// comparison view. Blocks on the disk. Throws CompressionError (expired, missing or damaged backup, changed
/// file, no picture) and FileSystemError.
ComparisonItem prepareComparison(const UndoStore& store, const UndoRecord& record, Date now);

} // namespace tarnwick
