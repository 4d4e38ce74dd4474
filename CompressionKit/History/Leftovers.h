#pragma once

#include "Foundation/WorkRegister.h"
#include "History/UndoStore.h"

#include <string>
#include <vector>

namespace tarnwick {

/// What a tidying after dead processes did.
struct Leftovers {
    /// Work folders and temporary files removed.
    int removed = 0;
    /// Prepared records that were committed, or deleted with their backups.
    int settledRecords = 0;
    /// Whether processes are still at work whose leftovers cannot be told from their work.
    bool isHeld = false;
    /// What stays though it should not, in words for the log.
    std::vector<std::string> problems;
};

/// Removes what processes that died left beside pictures, in the temporary folder and in the store, and
/// settles the records that they had prepared: one whose replacement is in its place is committed, one whose
/// original is in its place is deleted with its backup, and any other stays as it is.
///
/// Never touches what a live process holds. `workRegister` must be the one that those who use the store note
/// their work in. Does nothing while another process does the same. Throws FileSystemError.
Leftovers removeLeftovers(const UndoStore& store, const WorkRegister& workRegister = WorkRegister());

} // namespace tarnwick
