#pragma once

#include "Foundation/URL.h"

#include <cstdint>

namespace tarnwick {

/// What changes with every write to a file, rename onto its name or change of its attributes. Far cheaper
/// than a hash, and only good for noticing a change within one run.
struct FileVersion {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t bytes = 0;
    std::int64_t changeSeconds = 0;
    std::int64_t changeNanoseconds = 0;

    /// The item at the location itself, also when it is a link. Throws FileSystemError.
    static FileVersion of(const URL& url);

    friend bool operator==(const FileVersion&, const FileVersion&) = default;
};

} // namespace tarnwick
