#pragma once

#include "Foundation/URL.h"
#include "Process/Cancellation.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// A file to compress.
struct CollectedFile {
    /// As given, or the path by which a folder was walked; any bytes.
    std::string path;
    /// With the links in its folder resolved; empty when there is an error.
    URL url;
    /// Why the file cannot be compressed.
    std::optional<std::string> error = std::nullopt;
    /// The size; 0 for anything but a regular file.
    std::int64_t bytes = 0;
};

/// The files that the paths name, each once and in the given order. Folders are walked recursively in the
/// order of names; only regular files of a supported kind are taken from them, and nothing hidden. A path
/// that is given itself may also be hidden or a link. Throws Cancelled.
std::vector<CollectedFile> collectFiles(const std::vector<std::string>& paths,
                                        const Cancellation& cancellation);

} // namespace tarnwick
