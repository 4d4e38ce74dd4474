#include "Foundation/Directory.h"

#include "Foundation/FileSystemError.h"

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

std::optional<struct stat> linkStatus(const URL& url) noexcept {
    struct stat status {};
    return ::lstat(url.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

/// An environment variable that holds an absolute path; a relative one is to be ignored.
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

void createDirectories(const URL& url, unsigned mode) {
    if (::mkdir(url.c_str(), mode) == 0) {
        return;
    }
    const int code = errno;
    if (code == ENOENT && url.path() != "/") {
        createDirectories(url.deletingLastPathComponent(), mode);
        if (::mkdir(url.c_str(), mode) == 0 || errno == EEXIST) {
            return;
        }
        throw FileSystemError("无法创建文件夹", url, errno);
    }
    // A link to a folder serves as well as a folder.
    struct stat status {};
    if (code == EEXIST && ::stat(url.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        return;
    }
    throw FileSystemError("无法创建文件夹", url, code == EEXIST ? ENOTDIR : code);
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

bool itemExists(const URL& url) {
    struct stat status {};
    if (::lstat(url.c_str(), &status) == 0) {
        return true;
    }
    if (errno == ENOENT || errno == ENOTDIR) {
        return false;
    }
    throw FileSystemError("无法读取文件信息", url, errno);
}

bool isRegularFile(const URL& url) noexcept {
    const auto status = linkStatus(url);
    return status && S_ISREG(status->st_mode);
}

bool isDirectory(const URL& url) noexcept {
    const auto status = linkStatus(url);
    return status && S_ISDIR(status->st_mode);
}

void removeFile(const URL& url) {
    if (::unlink(url.c_str()) != 0 && errno != ENOENT) {
        throw FileSystemError("无法删除文件", url, errno);
    }
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

ScopedFile::ScopedFile(URL url) : url_(std::move(url)) {}

ScopedFile::~ScopedFile() {
    if (!released_) {
        ::unlink(url_.c_str());
    }
}

ScopedDirectory::ScopedDirectory(URL url) : url_(std::move(url)) {
    createDirectories(url_, 0700);
}

ScopedDirectory::~ScopedDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(url_.path(), ignored);
}

} // namespace tarnwick
