#include "Support/MemoryFile.h"

#include "Foundation/FileContents.h"
#include "Foundation/FileSystemError.h"

#include <sys/mman.h>

#include <cerrno>
#include <string>

namespace tarnwick::test {

MemoryFile::MemoryFile(std::span<const std::uint8_t> bytes)
    : file_(::memfd_create("picture", MFD_CLOEXEC)),
      url_(URL::file("/proc/self/fd/" + std::to_string(file_.get()))) {
    if (!file_) {
        throw FileSystemError("无法创建文件", url_, errno);
    }
    writeAll(file_, bytes, url_);
}

} // namespace tarnwick::test
