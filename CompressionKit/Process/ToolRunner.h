#pragma once

#include "Foundation/URL.h"
#include "Foundation/WorkRegister.h"
#include "Process/Cancellation.h"
#include "Process/ToolBudget.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick {

/// Runs the external encoders and the scorer of one folder as child processes. A value; safe from any thread,
/// and several runs may proceed at once.
class ToolRunner {
public:
    /// `cancellation` ends running tools, and lets no further one start. `budget`, by default the process's
    /// own, must outlive all copies.
    explicit ToolRunner(URL directory, Cancellation cancellation = {},
                        ToolBudget& budget = ToolBudget::shared());

    /// The same tools and budget with another cancellation.
    ToolRunner cancelledBy(Cancellation cancellation) const;
    /// The same, but every tool that is run holds the note's item for as long as it runs, even when this
    /// process has ended. The note must outlive all copies.
    ToolRunner holding(const WorkNote& note) const;
    const Cancellation& cancellation() const noexcept { return cancellation_; }

    /// Whether the file of that name in the folder is executable.
    bool has(const std::string& tool) const;

    /// Runs the tool with exactly these arguments and blocks until it has ended: until the budget has a place
    /// for it and the `memory` bytes that it is expected to need, and then at most `timeout` seconds and a
    /// second of grace. Returns the first MiB of its standard output as UTF-8 (ill-formed bytes
    /// replaced). Throws CompressionError::toolMissing; toolFailed for a time-out, a status other than 0 or a
    /// signal (told as its number), with the beginning of its standard error; fileOperation when its log
    /// files cannot be made; FileSystemError when it cannot be launched; Cancelled.
    std::string run(const std::string& tool, const std::vector<std::string>& arguments, double timeout,
                    std::int64_t memory = 0) const;

    const URL& directory() const noexcept { return directory_; }

private:
    URL directory_;
    Cancellation cancellation_;
    ToolBudget* budget_;
    const WorkNote* note_ = nullptr;
};

} // namespace tarnwick
