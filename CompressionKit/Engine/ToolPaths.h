#pragma once

#include "Foundation/Directory.h"
#include "Foundation/URL.h"
#include "Foundation/WorkRegister.h"

#include <optional>

namespace tarnwick {

/// Names by which every tool can reach the original and the work directory. Those are their own names as long
/// as they are UTF-8; a tool may give up on others, so that they are reached through links in the temporary
/// folder, which last as long as this object.
class ToolPaths {
public:
    /// Throws FileSystemError.
    ToolPaths(const URL& original, const URL& workDirectory);

    /// What an encoder is given to read.
    const URL& input() const noexcept { return input_; }
    /// Where outputs go, for the tools and for whoever judges them.
    const URL& workDirectory() const noexcept { return workDirectory_; }

private:
    std::optional<WorkNote> note_;
    std::optional<ScopedDirectory> links_;
    URL input_;
    URL workDirectory_;
};

} // namespace tarnwick
