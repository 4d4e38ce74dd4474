#pragma once

#include "Process/Cancellation.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>

namespace tarnwick {

/// What the tools of this process may take of the machine together: so many at a time as there are
/// processors, and so much memory. First come, first served: nothing that would fit passes one that waits, so
/// that nothing waits for ever. Safe from any thread.
class ToolBudget {
public:
    struct Capacity {
        int processors = 1;
        /// Bytes.
        std::int64_t memory = 0;
    };

    /// A run's part of the budget, given back on destruction. The budget must outlive it.
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

    /// `capacity` is asked whenever a share is taken while none is out, since the machine's load changes.
    explicit ToolBudget(std::function<Capacity()> capacity);
    ToolBudget(const ToolBudget&) = delete;
    ToolBudget& operator=(const ToolBudget&) = delete;
    ~ToolBudget() = default;

    /// The process's own: its processors, and half of the memory that is available to it.
    static ToolBudget& shared();

    /// Blocks until one more run, which needs `memory` bytes, has its place. One that needs more than there
    /// is gets its place when no other has one. Throws Cancelled; std::system_error when the process has no
    /// descriptor left.
    Share take(std::int64_t memory, const Cancellation& cancellation = {});

private:
    struct Request;

    bool fits(std::int64_t memory) const;
    void grant();
    void leave(const Request& request);
    void giveBack(std::int64_t memory);

    const std::function<Capacity()> readCapacity_;
    std::mutex mutex_;
    Capacity capacity_;
    int running_ = 0;
    std::int64_t memoryInUse_ = 0;
    std::deque<Request*> waiting_;
};

} // namespace tarnwick
