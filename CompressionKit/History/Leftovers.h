#pragma once

#include "Foundation/WorkRegister.h"
#include "History/UndoStore.h"

#include <string>
#include <vector>

namespace tarnwick {

/// What removeLeftovers() did.
struct LeftoversReport {
    /// The number of work folders and temporary files removed.
    int removed = 0;
    /// The number of prepared records that were committed, or deleted with their backups.
    int settledRecords = 0;
    /// Whether a later call may find more: live processes hold items, or another one does the same now.
    bool isIncomplete = false;
    /// Texts about items and records that should not be there but stay.
    std::vector<std::string> problems;
};

/// Removes what dead processes left beside pictures, in the temporary folder and in the store. Puts files of
/// other programs that they displaced back. Settles the records that they prepared: one is deleted with its
/// backup if its original is in place, and otherwise committed if its backup is sound. A record whose backup
/// is damaged is kept as it is.
///
/// Never touches an item of a live process. All processes that use the store must keep their notes in
/// `workRegister`. Does nothing while another process does the same. Throws FileSystemError.
LeftoversReport removeLeftovers(const UndoStore& store, const WorkRegister& workRegister = WorkRegister());

} // namespace tarnwick
