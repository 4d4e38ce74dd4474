#pragma once

#include "Foundation/URL.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tarnwick {

/// What a program in a cage may use beside its own file, the system's libraries and the descriptors that it
/// is given.
struct CageRules {
    struct Files {
        /// Files that it may read. One that cannot be found is left to the program to report.
        std::vector<URL> readable = {};
        /// Folders in which it may create, read, write and remove files, but no folders and no links.
        std::vector<URL> writable = {};
    };
    /// None: all files that the user may use.
    std::optional<Files> files = {};
    /// The bytes of memory that it is known to need; it may take twice as many. 0: no limit.
    std::int64_t memory = 0;
    /// The bytes of the largest file that it may write. 0: no limit.
    std::int64_t largestFile = 0;
};

} // namespace tarnwick
