#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <optional>
#include <utility>

namespace tarnwick {

/// An exclusive flock on a file that exists only to be locked and is never deleted. The kernel frees the lock
/// of a process that ends, however it ends; child processes don't inherit it.
class FileLock {
public:
    /// Takes the lock without waiting; none when it is held. Creates the file (mode 0600) and its folder
    /// (0700) where they are missing. Throws FileSystemError.
    static std::optional<FileLock> tryAcquire(const URL& file);
    /// Whether somebody holds the lock. It takes the lock for a moment, so that who tries just then to
    /// acquire it may fail. Throws FileSystemError.
    static bool isHeld(const URL& file);

private:
    explicit FileLock(FileDescriptor file) : file_(std::move(file)) {}

    FileDescriptor file_;
};

/// Locks an open file without waiting; false when another open file description has it. Throws
/// FileSystemError, which names `url`.
bool tryLock(const FileDescriptor& file, const URL& url);

} // namespace tarnwick
