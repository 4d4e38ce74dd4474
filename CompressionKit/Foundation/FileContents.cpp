#include "Foundation/FileContents.h"

#include "Foundation/Directory.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/GuardedFile.h"
#include "Foundation/SHA256.h"
#include "Foundation/UUID.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tarnwick {
namespace {

constexpr mode_t privateMode = 0600;
constexpr std::size_t readStepBytes = 1U << 16U;
constexpr std::size_t hashChunkBytes = 1U << 20U;
constexpr std::size_t maximumConfigurationBytes = std::size_t{4} << 20U;
/// File managers that watch the folder ignore such a name: it begins with a dot and has no extension.
constexpr std::string_view unfinishedPrefix = ".tarnwick-write-";

Bytes readUpTo(const URL& url, std::size_t maximumBytes) {
    const FileDescriptor file = openForReading(url);
    Bytes bytes;
    while (bytes.size() < maximumBytes) {
        const std::size_t held = bytes.size();
        // Grows with what was read: the limit may be far larger than the file.
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

/// Not for the mode that the file was created with: some file systems know no modes and refuse.
void setMode(const FileDescriptor& file, mode_t mode, const URL& url) {
    if (mode != privateMode && ::fchmod(file.get(), mode) != 0) {
        throw FileSystemError("无法写入文件", url, errno);
    }
}

URL unfinishedIn(const URL& folder) {
    return folder.appending(std::string(unfinishedPrefix) + UUID::random().text());
}

void writeDurably(const URL& url, std::span<const std::uint8_t> bytes, mode_t mode) {
    const FileDescriptor file = createNewFile(url, privateMode);
    writeAll(file, bytes, url);
    setMode(file, mode, url);
    syncFile(file, url);
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

std::optional<std::string> readIfPresent(const URL& url) {
    if (!itemExists(url)) {
        return std::nullopt;
    }
    const Bytes bytes = readFile(url, maximumConfigurationBytes);
    return std::string(bytes.begin(), bytes.end());
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

void writeFile(const URL& url, std::span<const std::uint8_t> bytes) {
    const FileDescriptor file(::open(url.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file) {
        throw FileSystemError("无法创建文件", url, errno);
    }
    writeAll(file, bytes, url);
}

void writeFileAtomically(const URL& url, std::span<const std::uint8_t> bytes, mode_t mode) {
    const URL folder = url.deletingLastPathComponent();
    ScopedFile temporary(unfinishedIn(folder));
    writeDurably(temporary.url(), bytes, mode);
    atomicRename(temporary.url(), url);
    temporary.commit();
    syncDirectory(folder);
}

bool rewriteFileAtomically(const URL& url, std::span<const std::uint8_t> bytes) {
    const URL folder = url.deletingLastPathComponent();
    const ScopedFile temporary(unfinishedIn(folder));
    writeDurably(temporary.url(), bytes, privateMode);
    if (!atomicExchange(temporary.url(), url)) {
        if (!itemExists(url)) {
            return false;
        }
        atomicRename(temporary.url(), url);
    }
    syncDirectory(folder);
    return true;
}

bool isUnfinishedWrite(const URL& url) {
    const std::string name = url.lastPathComponent();
    return name.starts_with(unfinishedPrefix) && UUID::parse(name.substr(unfinishedPrefix.size())) &&
           isRegularFile(url);
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

void syncFile(const URL& url) {
    syncFile(openForReading(url), url);
}

void syncFile(const FileDescriptor& file, const URL& url) {
    if (::fsync(file.get()) != 0) {
        throw FileSystemError("无法写入磁盘", url, errno);
    }
}

} // namespace tarnwick
