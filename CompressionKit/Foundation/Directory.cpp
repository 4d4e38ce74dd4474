#include "Foundation/Directory.h"

#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace tarnwick {
namespace {

/// The absolute path in an environment variable; a relative one is ignored.
std::optional<URL> directoryFromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && value[0] == '/' ? std::optional(URL::file(value)) : std::nullopt;
}

URL homeDirectory() {
    if (const auto home = directoryFromEnvironment("HOME")) {
        return *home;
    }
    const passwd* user = ::getpwuid(::getuid());
    return URL::file(user != nullptr ? user->pw_dir : "/");
}

} // namespace

void createDirectory(const URL& url, unsigned mode) {
    if (::mkdir(url.c_str(), mode) == 0) {
        return;
    }
    const int code = errno;
    // A link to a folder is fine too.
    struct stat status {};
    if (code == EEXIST && ::stat(url.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        return;
    }
    throw FileSystemError("无法创建文件夹", url, code == EEXIST ? ENOTDIR : code);
}

void createDirectories(const URL& url, unsigned mode) {
    try {
        createDirectory(url, mode);
    } catch (const FileSystemError& error) {
        if (error.code() != ENOENT || url.path() == "/") {
            throw;
        }
        createDirectories(url.deletingLastPathComponent(), mode);
        createDirectory(url, mode);
    }
}

void createDurably(const URL& folder) {
    if (itemExists(folder)) {
        // Throws unless it is a folder.
        createDirectories(folder);
        return;
    }
    const URL parent = folder.deletingLastPathComponent();
    createDurably(parent);
    createDirectories(folder, 0700);
    syncDirectory(parent);
}

void syncDirectory(const URL& url) {
    const FileDescriptor directory(::open(url.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory) {
        if (errno != EACCES) {
            throw FileSystemError("无法打开文件夹", url, errno);
        }
        // A folder that may be written but not listed cannot be opened; all disks can be flushed instead.
        ::sync();
    } else if (::fsync(directory.get()) != 0 && errno != EINVAL && errno != ENOTSUP) {
        // Some network file systems cannot flush folders.
        throw FileSystemError("无法写入磁盘", url, errno);
    }
}

std::vector<URL> entries(const URL& directory) {
    std::error_code error;
    std::vector<URL> found;
    std::filesystem::directory_iterator item(directory.path(), error);
    for (; !error && item != std::filesystem::directory_iterator(); item.increment(error)) {
        found.push_back(URL::file(item->path().native()));
    }
    if (error) {
        throw FileSystemError("无法读取文件夹", directory, error.value());
    }
    std::sort(found.begin(), found.end());
    return found;
}

URL temporaryDirectory() {
    return directoryFromEnvironment("TMPDIR").value_or(URL::file("/tmp"));
}

URL applicationSupportDirectory() {
    if (const auto data = directoryFromEnvironment("XDG_DATA_HOME")) {
        return *data;
    }
    return homeDirectory().appending(".local/share");
}

URL configurationDirectory() {
    if (const auto configuration = directoryFromEnvironment("XDG_CONFIG_HOME")) {
        return *configuration;
    }
    return homeDirectory().appending(".config");
}

PinnedFolder::PinnedFolder(const URL& folder)
    : folder_(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    if (!folder_) {
        throw FileSystemError("无法打开文件夹", folder, errno);
    }
}

URL PinnedFolder::item(const std::string& name) const {
    return URL::file("/proc/self/fd/" + std::to_string(folder_.get())).appending(name);
}

ScopedDirectory::ScopedDirectory(URL url) : url_(std::move(url)), parent_(url_.deletingLastPathComponent()) {
    createDirectory(url_, 0700);
}

ScopedDirectory::~ScopedDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(parent_.item(url_.lastPathComponent()).path(), ignored);
}

} // namespace tarnwick
