#include "Foundation/FileOperations.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tarnwick {
namespace {

constexpr auto statusAttempt = "无法读取文件信息";

bool isOfType(const URL& url, mode_t type) noexcept {
    struct stat status {};
    return ::lstat(url.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == type;
}

/// 0, or the errno value.
int renameExclusively(const char* source, const char* destination) {
    if (::renameat2(AT_FDCWD, source, AT_FDCWD, destination, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // The file system does not support the flag. Linking is exclusive too, and the file has two names for a
    // moment rather than none.
    if (::link(source, destination) != 0) {
        return errno;
    }
    // From here on the file has moved; a second name that stays belongs to the caller's temporary items.
    static_cast<void>(::unlink(source));
    return 0;
}

} // namespace

struct stat statusOf(const FileDescriptor& file, const URL& url) {
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        throw FileSystemError(statusAttempt, url, errno);
    }
    return status;
}

struct stat statusOf(const URL& url) {
    struct stat status {};
    if (::lstat(url.c_str(), &status) != 0) {
        throw FileSystemError(statusAttempt, url, errno);
    }
    return status;
}

std::optional<struct stat> statusIfPresent(const URL& url) {
    struct stat status {};
    if (::lstat(url.c_str(), &status) == 0) {
        return status;
    }
    if (errno == ENOENT || errno == ENOTDIR) {
        return std::nullopt;
    }
    throw FileSystemError(statusAttempt, url, errno);
}

std::int64_t fileSize(const URL& url) {
    return statusOf(url).st_size;
}

mode_t modeOfFile(const URL& url, mode_t otherwise) noexcept {
    struct stat status {};
    return ::stat(url.c_str(), &status) == 0 ? status.st_mode & 07777U : otherwise;
}

bool itemExists(const URL& url) {
    return statusIfPresent(url).has_value();
}

bool isRegularFile(const URL& url) noexcept {
    return isOfType(url, S_IFREG);
}

bool isDirectory(const URL& url) noexcept {
    return isOfType(url, S_IFDIR);
}

URL resolvingLinks(const URL& url) {
    std::error_code error;
    const auto path = std::filesystem::weakly_canonical(url.path(), error);
    if (error) {
        throw FileSystemError(statusAttempt, url, error.value());
    }
    return URL::file(path.native());
}

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
        // Sets the owner, not a time: another program may write a new time at this moment.
        [[maybe_unused]] const int result = ::lchown(url.c_str(), status.st_uid, status.st_gid);
    }
}

void removeFile(const URL& url) {
    if (::unlink(url.c_str()) != 0 && errno != ENOENT) {
        throw FileSystemError("无法删除文件", url, errno);
    }
}

ScopedFile::ScopedFile(URL url) : url_(std::move(url)) {}

ScopedFile::~ScopedFile() {
    if (!committed_) {
        ::unlink(url_.c_str());
    }
}

} // namespace tarnwick
