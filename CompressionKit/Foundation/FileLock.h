#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <functional>
#include <optional>
#include <utility>

namespace tarnwick {

/// An exclusive flock, held until destruction. The kernel frees the lock when the process ends for any
/// reason; child processes do not inherit it.
class FileLock {
public:
    /// Locks a file without waiting; none when it is locked already. The file holds nothing and is never
    /// deleted; it (mode 0600) and its folder (0700) are created where they are missing. Throws
    /// FileSystemError.
    static std::optional<FileLock> tryAcquire(const URL& file);
    /// Whether the file is locked. This takes the lock for a moment, so that a tryAcquire() at the same time
    /// may fail. Throws FileSystemError.
    static bool isHeld(const URL& file);
    /// Locks a folder itself and waits for it; no lock file is left behind. Creates the folder (mode 0700)
    /// where it is missing. Throws FileSystemError.
    static FileLock acquireFolder(const URL& folder);

private:
    explicit FileLock(FileDescriptor file) : file_(std::move(file)) {}

    FileDescriptor file_;
};

/// Locks an open file without waiting; false when another open file description has it. Throws
/// FileSystemError, which names `url`.
bool tryLock(const FileDescriptor& file, const URL& url);
/// Locks an open file and waits for it, in the kernel's queue. `interrupted` is called whenever a signal
/// interrupts the wait, and may throw to end it. Throws FileSystemError, which names `url`.
void lock(const FileDescriptor& file, const URL& url, const std::function<void()>& interrupted = {});

} // namespace tarnwick
