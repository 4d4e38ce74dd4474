#include "Foundation/FileVersion.h"

#include "Foundation/FileOperations.h"

namespace tarnwick {

FileVersion FileVersion::of(const URL& url) {
    const struct stat status = statusOf(url);
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .bytes = status.st_size,
            .changeSeconds = status.st_ctim.tv_sec,
            .changeNanoseconds = status.st_ctim.tv_nsec};
}

} // namespace tarnwick
