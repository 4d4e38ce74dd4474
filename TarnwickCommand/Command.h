#pragma once

#include "Foundation/URL.h"
#include "History/UndoStore.h"
#include "Process/Cancellation.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "TarnwickCommand/Output.h"

namespace tarnwick {

/// The environment of every command. All references outlive the command.
///
/// A command returns its ExitStatus. It throws OutputFailed, Cancelled when it was stopped, and the library's
/// error when it could not start its work.
struct CommandContext {
    const Output& output;
    const UndoStore& undo;
    const URL& toolDirectory;
    const Cancellation& cancellation;
    bool json = false;
    /// Starts the helper that maintains the user's own store; null for any other store.
    HelperLauncher* backupKeeper = nullptr;

    bool isOwnStore() const { return backupKeeper != nullptr; }

    void throwIfCancelled() const {
        if (cancellation.isRequested()) {
            throw Cancelled();
        }
    }
};

} // namespace tarnwick
