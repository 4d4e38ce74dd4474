#pragma once

#include "Process/Cancellation.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <mutex>

namespace tarnwick {

/// Limits the tools that this process runs at the same time: at most one for each processor, and together no
/// more than the given memory. Requests are served strictly in order, so a large one is never starved by
/// small ones. Safe from any thread.
class ToolBudget {
public:
    struct Capacity {
        int processors = 1;
        /// Bytes.
        std::int64_t memory = 0;
    };

    /// The part of the budget that one run uses; the destructor gives it back. The budget must outlive it.
    class Share {
    public:
        Share(Share&& other) noexcept;
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;
        Share& operator=(Share&&) = delete;
        ~Share();

    private:
        friend class ToolBudget;
        Share(ToolBudget& budget, std::int64_t memory) : budget_(&budget), memory_(memory) {}

        ToolBudget* budget_;
        std::int64_t memory_;
    };

    /// `capacity` is called whenever a share is taken while no other is in use, because the machine's load
    /// changes. No run may need more than `largestRun` bytes.
    explicit ToolBudget(std::function<Capacity()> capacity,
                        std::int64_t largestRun = std::numeric_limits<std::int64_t>::max());
    ToolBudget(const ToolBudget&) = delete;
    ToolBudget& operator=(const ToolBudget&) = delete;
    ~ToolBudget() = default;

    /// The budget of this process: its processors, and half of its available memory.
    static ToolBudget& shared();
    /// The most bytes that one run may need on a machine with `totalMemory` bytes: all but an eighth, and at
    /// least 512 MiB, for the desktop and other programs.
    static std::int64_t largestRun(std::int64_t totalMemory) noexcept;

    /// Whether a run that needs `memory` bytes is possible at all.
    bool affords(std::int64_t memory) const noexcept { return memory <= largestRun_; }
    /// Throws CompressionError::fileOperation with the two sizes when it is not.
    void require(std::int64_t memory) const;
    /// Blocks until there is room for a run that needs `memory` bytes. A run that needs more than the whole
    /// budget runs alone. Throws as require(); Cancelled; std::system_error when the process has no
    /// descriptor left.
    Share take(std::int64_t memory, const Cancellation& cancellation = Cancellation::never());

private:
    struct Request;

    bool fits(std::int64_t memory) const;
    void renewCapacity() noexcept;
    void grant();
    void leave(const Request& request);
    void giveBack(std::int64_t memory);

    const std::function<Capacity()> readCapacity_;
    const std::int64_t largestRun_;
    std::mutex mutex_;
    Capacity capacity_;
    int running_ = 0;
    std::int64_t memoryInUse_ = 0;
    std::deque<Request*> waiting_;
};

} // namespace tarnwick
