#include "TarnwickFinderSync/UserFiles.h"

#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/UUID.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <span>
#include <system_error>

namespace tarnwick {
namespace {

constexpr std::size_t maximumBytes = std::size_t{4} << 20U;

URL withoutLinks(const URL& url) {
    std::error_code error;
    const auto path = std::filesystem::weakly_canonical(url.path(), error);
    if (error) {
        throw FileSystemError("无法读取文件信息", url, error.value());
    }
    return URL::file(path.native());
}

std::span<const std::uint8_t> bytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

} // namespace

std::optional<std::string> readIfPresent(const URL& url) {
    if (!itemExists(url)) {
        return std::nullopt;
    }
    const Bytes contents = readFile(url, maximumBytes);
    return std::string(contents.begin(), contents.end());
}

void replaceFile(const URL& url, std::string_view contents, mode_t mode) {
    const URL target = withoutLinks(url);
    const URL folder = target.deletingLastPathComponent();
    // The name begins with a dot and has no extension: file managers that watch the folder pass it over.
    ScopedFile temporary(folder.appending(".tarnwick-write-" + UUID::random().text()));
    writeFile(temporary.url(), bytes(contents));
    if (::chmod(temporary.url().c_str(), mode) != 0) {
        throw FileSystemError("无法写入文件", temporary.url(), errno);
    }
    syncFile(temporary.url());
    atomicRename(temporary.url(), target);
    temporary.release();
    syncDirectory(folder);
}

mode_t modeOfFile(const URL& url, mode_t otherwise) {
    struct stat status {};
    return ::stat(url.c_str(), &status) == 0 ? status.st_mode & 07777U : otherwise;
}

FolderLock::FolderLock(const URL& folder) {
    createDirectories(folder, 0700);
    folder_ = openForReading(folder);
    while (::flock(folder_.get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            throw FileSystemError("无法锁定文件夹", folder, errno);
        }
    }
}

} // namespace tarnwick
