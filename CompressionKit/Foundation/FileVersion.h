#pragma once

#include "Foundation/URL.h"

#include <cstdint>

namespace tarnwick {

/// Values that change with every write to a file, every rename onto its name and every change of its
/// attributes. Much cheaper than a hash, but comparable only within one run.
struct FileVersion {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t bytes = 0;
    std::int64_t changeSeconds = 0;
    std::int64_t changeNanoseconds = 0;

    /// Does not follow a link. Throws FileSystemError.
    static FileVersion of(const URL& url);

    friend bool operator==(const FileVersion&, const FileVersion&) = default;
};

} // namespace tarnwick
