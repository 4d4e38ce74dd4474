#include "Foundation/FileOperations.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileDescriptor.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/SHA256.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <span>
#include <vector>

namespace tarnwick {
namespace {

constexpr std::size_t hashChunkBytes = 1U << 20U;

/// 0, or the errno value.
int renameExclusively(const char* source, const char* destination) {
    if (::renameat2(AT_FDCWD, source, AT_FDCWD, destination, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // The file system does not know the flag. Linking is as exclusive, and the file has two names for a
    // moment rather than none.
    if (::link(source, destination) != 0) {
        return errno;
    }
    return ::unlink(source) == 0 ? 0 : errno;
}

} // namespace

void atomicRename(const URL& source, const URL& destination) {
    if (::rename(source.c_str(), destination.c_str()) != 0) {
        throw CompressionError::fileOperation("替换文件失败：" + systemErrorText(errno));
    }
}

bool atomicRenameIfAbsent(const URL& source, const URL& destination) {
    const int code = renameExclusively(source.c_str(), destination.c_str());
    if (code == 0 || code == EEXIST) {
        return code == 0;
    }
    throw CompressionError::fileOperation("保存 PNG 失败：" + systemErrorText(code));
}

void nudgeWatchers(const URL& url) noexcept {
    struct stat status {};
    if (::lstat(url.c_str(), &status) == 0) {
        // The owner, and no time: a write at this very moment may set one.
        [[maybe_unused]] const int result = ::lchown(url.c_str(), status.st_uid, status.st_gid);
    }
}

std::int64_t fileSize(const URL& url) {
    struct stat status {};
    if (::lstat(url.c_str(), &status) != 0) {
        throw FileSystemError("无法读取文件信息", url, errno);
    }
    return status.st_size;
}

std::string hash(const URL& url) {
    const FileDescriptor file = openForReading(url);
    ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    SHA256 computation;
    std::vector<std::byte> chunk(hashChunkBytes);
    while (true) {
        const ssize_t count = ::read(file.get(), chunk.data(), chunk.size());
        if (count > 0) {
            computation.update(std::span(chunk).first(static_cast<std::size_t>(count)));
        } else if (count == 0) {
            return computation.finalize();
        } else if (errno != EINTR) {
            throw FileSystemError("无法读取文件", url, errno);
        }
    }
}

} // namespace tarnwick
