#include "Foundation/FileLock.h"

#include "Foundation/Directory.h"
#include "Foundation/DurableDirectory.h"
#include "Foundation/FileSystemError.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace tarnwick {
namespace {

bool tryLock(const FileDescriptor& file, const URL& url, int operation) {
    while (::flock(file.get(), operation | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) {
            return false;
        }
        if (errno != EINTR) {
            throw FileSystemError("无法锁定文件", url, errno);
        }
    }
    return true;
}

} // namespace

bool tryLock(const FileDescriptor& file, const URL& url) {
    return tryLock(file, url, LOCK_EX);
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
    return itemExists(file) && !tryLock(openForReading(file), file, LOCK_SH);
}

} // namespace tarnwick
