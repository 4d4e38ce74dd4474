#pragma once

#include "Foundation/URL.h"
#include "Foundation/WorkRegister.h"
#include "Process/CageRules.h"
#include "Process/Cancellation.h"
#include "Process/ToolBudget.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// Runs the external encoders and the scorer of one folder as child processes. A value; safe from any thread,
/// and several runs may proceed at once.
class ToolRunner {
public:
    /// A request of `cancellation` ends running tools and prevents further ones. `budget` must outlive all
    /// copies.
    explicit ToolRunner(URL directory, Cancellation cancellation = Cancellation::never(),
                        ToolBudget& budget = ToolBudget::shared());

    /// The same tools and budget with another cancellation.
    ToolRunner cancelledBy(Cancellation cancellation) const;
    /// The same, but each tool keeps the note's lock until it ends, even when this process has ended before.
    /// The note must outlive all copies.
    ToolRunner holding(const WorkNote& note) const;
    /// The same, but each tool runs in a cage with these rules. Their memory is replaced by that of the run.
    ToolRunner confinedTo(CageRules rules) const;
    const Cancellation& cancellation() const noexcept { return cancellation_; }

    /// What the tools may take of the machine.
    const ToolBudget& budget() const noexcept { return *budget_; }
    /// Whether the file of that name in the folder is executable.
    bool has(const std::string& tool) const;

    /// Runs the tool with exactly these arguments and this process's environment. Blocks until the budget has
    /// a place for it and for its expected `memory` bytes, and then until the tool ends, at most `timeout`
    /// seconds and one second of grace. Returns the first MiB of its standard output as UTF-8 (ill-formed
    /// bytes replaced). Throws CompressionError::toolMissing; toolFailed for a timeout, a status other than 0
    /// or a signal (its number is the status), with the beginning of the standard error; fileOperation when
    /// the log files cannot be made, or the machine has less memory; FileSystemError when the tool cannot be
    /// confined or launched; Cancelled.
    std::string run(const std::string& tool, const std::vector<std::string>& arguments, double timeout,
                    std::int64_t memory = 0) const;

    const URL& directory() const noexcept { return directory_; }

private:
    URL directory_;
    Cancellation cancellation_;
    ToolBudget* budget_;
    const WorkNote* note_ = nullptr;
    std::optional<CageRules> rules_;
};

} // namespace tarnwick
