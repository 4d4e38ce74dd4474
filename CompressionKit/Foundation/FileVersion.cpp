#include "Foundation/FileVersion.h"

#include "Foundation/FileOperations.h"

namespace tarnwick {

FileVersion FileVersion::of(const URL& url) {
    const struct stat status = statusOf(url);
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .bytes = status.st_size,
            .modifiedSeconds = status.st_mtim.tv_sec,
            .modifiedNanoseconds = status.st_mtim.tv_nsec,
            .mode = status.st_mode,
            .owner = status.st_uid,
            .group = status.st_gid};
}

} // namespace tarnwick
