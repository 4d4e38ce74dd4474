#pragma once

#include "Foundation/URL.h"

#include <cstdint>

namespace tarnwick {

/// Values that change with a write to a file, a rename onto its name and a change of its owner or mode, but
/// not when the file itself is renamed. Comparable only within one run.
struct FileVersion {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t bytes = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;
    /// The type and the permissions.
    std::uint32_t mode = 0;
    std::uint32_t owner = 0;
    std::uint32_t group = 0;

    /// Does not follow a link. Throws FileSystemError.
    static FileVersion of(const URL& url);

    friend bool operator==(const FileVersion&, const FileVersion&) = default;
};

} // namespace tarnwick
