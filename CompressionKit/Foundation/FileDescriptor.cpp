#include "Foundation/FileDescriptor.h"

#include "Foundation/FileSystemError.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tarnwick {

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        reset();
        descriptor_ = other.release();
    }
    return *this;
}

int FileDescriptor::release() noexcept {
    return std::exchange(descriptor_, -1);
}

void FileDescriptor::reset() noexcept {
    if (descriptor_ >= 0) {
        ::close(release());
    }
}

FileDescriptor openForReading(const URL& url) {
    FileDescriptor file(::open(url.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        throw FileSystemError("无法打开文件", url, errno);
    }
    return file;
}

FileDescriptor createNewFile(const URL& url, mode_t mode) {
    FileDescriptor file(::open(url.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (!file) {
        throw FileSystemError("无法创建文件", url, errno);
    }
    return file;
}

} // namespace tarnwick
