#pragma once

#include "Foundation/URL.h"
#include "Process/Cancellation.h"

#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// One file that the user asked for.
struct CollectedFile {
    /// As it was given, or as walking from what was given leads to it; any bytes.
    std::string path;
    /// With its folder's links resolved; empty when there is an error.
    URL url;
    /// Why there is nothing to compress.
    std::optional<std::string> error = std::nullopt;
};

/// The files that the paths name, in their order, each once. Folders are walked in the order of names: of
/// what is found in them only regular files of the kinds that can be compressed count, and nothing hidden.
/// What is named outright is taken as it is. Throws Cancelled.
std::vector<CollectedFile> collectFiles(const std::vector<std::string>& paths,
                                        const Cancellation& cancellation);

} // namespace tarnwick
