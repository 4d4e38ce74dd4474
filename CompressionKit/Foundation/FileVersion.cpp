#include "Foundation/FileVersion.h"

#include "Foundation/FileSystemError.h"

#include <sys/stat.h>

#include <cerrno>

namespace tarnwick {

FileVersion FileVersion::of(const URL& url) {
    struct stat status {};
    if (::lstat(url.c_str(), &status) != 0) {
        throw FileSystemError("无法读取文件信息", url, errno);
    }
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .bytes = status.st_size,
            .changeSeconds = status.st_ctim.tv_sec,
            .changeNanoseconds = status.st_ctim.tv_nsec};
}

} // namespace tarnwick
