#include "Foundation/FileLock.h"

#include "Foundation/Directory.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace tarnwick {
namespace {

/// False when the lock is held and `operation` does not wait.
bool lockAs(int operation, const FileDescriptor& file, const URL& url,
            const std::function<void()>& interrupted = {}) {
    while (::flock(file.get(), operation) != 0) {
        if (errno == EWOULDBLOCK) {
            return false;
        }
        if (errno != EINTR) {
            throw FileSystemError("无法锁定文件", url, errno);
        }
        if (interrupted) {
            interrupted();
        }
    }
    return true;
}

} // namespace

bool tryLock(const FileDescriptor& file, const URL& url) {
    return lockAs(LOCK_EX | LOCK_NB, file, url);
}

void lock(const FileDescriptor& file, const URL& url, const std::function<void()>& interrupted) {
    lockAs(LOCK_EX, file, url, interrupted);
}

std::optional<FileLock> FileLock::tryAcquire(const URL& file) {
    createDurably(file.deletingLastPathComponent());
    FileDescriptor descriptor(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!descriptor) {
        throw FileSystemError("无法创建文件", file, errno);
    }
    return tryLock(descriptor, file) ? std::optional(FileLock(std::move(descriptor))) : std::nullopt;
}

bool FileLock::isHeld(const URL& file) {
    return itemExists(file) && !lockAs(LOCK_SH | LOCK_NB, openForReading(file), file);
}

FileLock FileLock::acquireFolder(const URL& folder) {
    createDirectories(folder, 0700);
    FileDescriptor descriptor = openForReading(folder);
    lock(descriptor, folder);
    return FileLock(std::move(descriptor));
}

} // namespace tarnwick
