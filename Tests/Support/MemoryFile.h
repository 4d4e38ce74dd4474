#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <cstdint>
#include <span>

namespace tarnwick::test {

/// A file that is only in memory, for tests that read thousands of slightly different ones: to write a file
/// on a disk anew may wait for the disk each time.
class MemoryFile {
public:
    explicit MemoryFile(std::span<const std::uint8_t> bytes);

    /// Good for reading while the object lives.
    const URL& url() const { return url_; }

private:
    FileDescriptor file_;
    URL url_;
};

} // namespace tarnwick::test
