#include "TarnwickCommand/GivenPath.h"

#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace tarnwick::GivenPath {

URL url(const std::string& path) {
    if (path.empty()) {
        throw FileSystemError("无法读取文件信息", URL(), ENOENT);
    }
    return URL::file(path);
}

std::string portableText(const std::string& path) {
    return isUTF8(path) ? path : URL::file(path).absoluteString();
}

URL resolved(const URL& url) {
    std::error_code error;
    const auto path = std::filesystem::weakly_canonical(url.path(), error);
    return error ? url : URL::file(path.native());
}

URL resolvingFolder(const URL& url) {
    return resolved(url.deletingLastPathComponent()).appending(url.lastPathComponent());
}

} // namespace tarnwick::GivenPath
