#pragma once

#include "Foundation/Directory.h"
#include "Foundation/URL.h"
#include "Foundation/WorkRegister.h"

#include <optional>

namespace tarnwick {

/// Names of the original and the work directory that every tool accepts. UTF-8 paths are used as they are.
/// Some tools fail on other paths, so this object keeps links to them in the temporary folder while it
/// exists.
class ToolPaths {
public:
    /// Throws FileSystemError.
    ToolPaths(const URL& original, const URL& workDirectory);

    /// The encoders' input.
    const URL& input() const noexcept { return input_; }
    /// The folder for outputs.
    const URL& workDirectory() const noexcept { return workDirectory_; }

private:
    std::optional<WorkNote> note_;
    std::optional<ScopedDirectory> links_;
    URL input_;
    URL workDirectory_;
};

} // namespace tarnwick
