#include "Process/ToolBudget.h"

#include "Foundation/CompressionError.h"
#include "Process/Event.h"
#include "Process/MachineLimits.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace tarnwick {
namespace {

/// The rest is for this process and for other programs.
constexpr std::int64_t memoryFraction = 2;

} // namespace

/// Waits until `granted` is set, which happens under the lock.
struct ToolBudget::Request {
    std::int64_t memory;
    Event granted = {};
};

ToolBudget::Share::Share(Share&& other) noexcept
    : budget_(std::exchange(other.budget_, nullptr)), memory_(other.memory_) {}

ToolBudget::Share::~Share() {
    if (budget_ != nullptr) {
        budget_->giveBack(memory_);
    }
}

ToolBudget::ToolBudget(std::function<Capacity()> capacity, std::int64_t largestRun)
    : readCapacity_(std::move(capacity)), largestRun_(largestRun) {}

ToolBudget& ToolBudget::shared() {
    // Never destroyed: a job may still run while the process ends.
    static ToolBudget& budget = *new ToolBudget(
        [] {
            return Capacity{.processors = MachineLimits::processors(),
                            .memory = MachineLimits::availableMemory() / memoryFraction};
        },
        largestRun(MachineLimits::totalMemory()));
    return budget;
}

std::int64_t ToolBudget::largestRun(std::int64_t totalMemory) noexcept {
    constexpr std::int64_t least = std::int64_t{512} << 20;
    return std::max<std::int64_t>(totalMemory - std::max(totalMemory / 8, least), 0);
}

void ToolBudget::require(std::int64_t memory) const {
    constexpr double giga = 1e9;
    if (!affords(memory)) {
        throw CompressionError::fileOperation(
            fmt::format("内存不足：压缩这张图片约需 {:.1f} GB，这台电脑最多能提供 {:.1f} GB",
                        static_cast<double>(memory) / giga, static_cast<double>(largestRun_) / giga));
    }
}

ToolBudget::Share ToolBudget::take(std::int64_t memory, const Cancellation& cancellation) {
    require(memory);
    Request request{.memory = memory};
    {
        const std::lock_guard lock(mutex_);
        waiting_.push_back(&request);
        grant();
    }
    waitUntilReadable(request.granted.descriptor(), cancellation.descriptor());
    const std::lock_guard lock(mutex_);
    if (!request.granted.isSet()) {
        leave(request);
        throw Cancelled();
    }
    return {*this, memory};
}

bool ToolBudget::fits(std::int64_t memory) const {
    return running_ == 0 || (running_ < capacity_.processors && memory <= capacity_.memory - memoryInUse_);
}

void ToolBudget::renewCapacity() noexcept {
    try {
        capacity_ = readCapacity_();
    } catch (const std::exception&) {
        // Reading needs memory and descriptors. The earlier capacity serves as well; an error would leave the
        // request in the queue, and all others waiting behind it.
    }
}

/// Grants waiting requests in order, as long as the first one fits.
void ToolBudget::grant() {
    while (!waiting_.empty()) {
        if (running_ == 0) {
            renewCapacity();
        }
        Request& first = *waiting_.front();
        if (!fits(first.memory)) {
            return;
        }
        ++running_;
        memoryInUse_ += first.memory;
        waiting_.pop_front();
        first.granted.set();
    }
}

void ToolBudget::leave(const Request& request) {
    waiting_.erase(std::find(waiting_.begin(), waiting_.end(), &request));
    // The others may have waited for this request only.
    grant();
}

void ToolBudget::giveBack(std::int64_t memory) {
    const std::lock_guard lock(mutex_);
    --running_;
    memoryInUse_ -= memory;
    grant();
}

} // namespace tarnwick
