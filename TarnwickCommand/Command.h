#pragma once

#include "Foundation/URL.h"
#include "History/UndoStore.h"
#include "Process/Cancellation.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "TarnwickCommand/Output.h"

namespace tarnwick {

/// What every command works with. Everything it refers to outlives the command.
///
/// A command returns its ExitStatus. It throws OutputFailed, Cancelled when it was stopped between two items
/// or within one, and what the library throws when it could do nothing at all.
struct CommandContext {
    const Output& output;
    const UndoStore& undo;
    const URL& toolDirectory;
    const Cancellation& cancellation;
    bool json = false;
    /// Starts the helper that keeps the backups of the user's own store; none with any other store.
    HelperLauncher* backupKeeper = nullptr;

    bool isOwnStore() const { return backupKeeper != nullptr; }

    void throwIfCancelled() const {
        if (cancellation.isRequested()) {
            throw Cancelled();
        }
    }
};

} // namespace tarnwick
