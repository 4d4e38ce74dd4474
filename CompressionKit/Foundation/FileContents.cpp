#include "Foundation/FileContents.h"

#include "Foundation/Directory.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/UUID.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tarnwick {
namespace {

constexpr std::size_t readStepBytes = 1U << 16U;

Bytes readUpTo(const URL& url, std::size_t maximumBytes) {
    const FileDescriptor file = openForReading(url);
    Bytes bytes;
    while (bytes.size() < maximumBytes) {
        const std::size_t held = bytes.size();
        // Grows with what is really there: the limit may be far larger than the file.
        bytes.resize(std::min(maximumBytes, std::max(held * 2, readStepBytes)));
        const ssize_t count = ::read(file.get(), bytes.data() + held, bytes.size() - held);
        const int code = errno;
        bytes.resize(held + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count == 0) {
            break;
        }
        if (count < 0 && code != EINTR) {
            throw FileSystemError("无法读取文件", url, code);
        }
    }
    return bytes;
}

void sync(const FileDescriptor& file, const URL& url) {
    if (::fsync(file.get()) != 0) {
        throw FileSystemError("无法写入磁盘", url, errno);
    }
}

} // namespace

Bytes readFile(const URL& url, std::size_t maximumBytes) {
    Bytes bytes = readUpTo(url, maximumBytes + 1);
    if (bytes.size() > maximumBytes) {
        throw FileSystemError("无法读取文件", url, EFBIG);
    }
    return bytes;
}

Bytes readFilePrefix(const URL& url, std::size_t maximumBytes) {
    return readUpTo(url, maximumBytes);
}

void writeAll(const FileDescriptor& file, std::span<const std::uint8_t> bytes, const URL& url) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file.get(), bytes.data(), bytes.size());
        if (count > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            throw FileSystemError("无法写入文件", url, count == 0 ? ENOSPC : errno);
        }
    }
}

void writeFile(const URL& url, std::span<const std::uint8_t> bytes) {
    const FileDescriptor file(::open(url.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file) {
        throw FileSystemError("无法创建文件", url, errno);
    }
    writeAll(file, bytes, url);
}

void writeFileAtomically(const URL& url, std::span<const std::uint8_t> bytes) {
    const URL folder = url.deletingLastPathComponent();
    ScopedFile temporary(folder.appending(".tarnwick-write-" + UUID::random().text()));
    {
        const FileDescriptor file = createNewFile(temporary.url(), 0600);
        writeAll(file, bytes, temporary.url());
        sync(file, temporary.url());
    }
    atomicRename(temporary.url(), url);
    temporary.release();
    syncDirectory(folder);
}

void syncFile(const URL& url) {
    sync(openForReading(url), url);
}

void syncDirectory(const URL& url) {
    const FileDescriptor directory(::open(url.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory) {
        if (errno != EACCES) {
            throw FileSystemError("无法打开文件夹", url, errno);
        }
        // A folder that may be written but not listed cannot be opened; all of the disk can be flushed
        // instead.
        ::sync();
    } else if (::fsync(directory.get()) != 0 && errno != EINVAL && errno != ENOTSUP) {
        // Some network file systems have no such thing for folders: their renames are as lasting as they get.
        throw FileSystemError("无法写入磁盘", url, errno);
    }
}

} // namespace tarnwick
