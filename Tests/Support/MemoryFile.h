#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <cstdint>
#include <span>

namespace tarnwick::test {

/// A file in memory, for tests that read thousands of slightly different ones: rewriting a file on a disk may
/// wait for the disk each time.
class MemoryFile {
public:
    explicit MemoryFile(std::span<const std::uint8_t> bytes);

    /// Valid while the object lives.
    const URL& url() const { return url_; }

private:
    FileDescriptor file_;
    URL url_;
};

} // namespace tarnwick::test
