#pragma once

#include "Foundation/BackgroundJob.h"

#include <asio/async_result.hpp>
#include <asio/system_executor.hpp>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <type_traits>
#include <utility>

namespace tarnwick {

/// Which of the waiting bodies is next: the one of the highest priority, and of these the first that came.
enum class ReadingPriority { veryLow, low, normal, high, veryHigh };

/// The two threads on which pictures are read for display, so that large ones neither block the interface nor
/// flood the machine. All functions may be called from any thread.
class ReadingQueue {
public:
    static constexpr std::size_t concurrency = 2;

    ReadingQueue();
    ReadingQueue(const ReadingQueue&) = delete;
    ReadingQueue& operator=(const ReadingQueue&) = delete;
    /// Lets the running bodies end, completes the waiting ones with std::system_error of
    /// std::errc::operation_canceled, and returns when both is done. The executors of the handlers must still
    /// be there.
    ~ReadingQueue();

    /// The process's own. It ends with the process, in the way its destructor says.
    static ReadingQueue& shared();

    /// Runs `body` when its turn has come, and completes with what it returns or throws: the signature is
    /// void(std::exception_ptr, Result), or void(std::exception_ptr) for a void body. The body is destroyed
    /// before the completion handler is called through its associated executor; without one it runs on a
    /// thread of the queue and must not block. A body must not wait for another one.
    template <typename Body, typename CompletionToken>
    auto run(ReadingPriority priority, Body body, CompletionToken&& token) {
        auto initiate = [this](auto&& handler, ReadingPriority urgency, Body work) {
            using Task = TypedBackgroundJob<Body, std::decay_t<decltype(handler)>, asio::system_executor>;
            submit(urgency, std::make_unique<Task>(std::move(work), std::forward<decltype(handler)>(handler),
                                                   asio::system_executor()));
        };
        return asio::async_initiate<CompletionToken, typename JobOutcomeOf<Body>::Signature>(
            std::move(initiate), token, priority, std::move(body));
    }

private:
    using Job = std::unique_ptr<BackgroundJob>;

    void submit(ReadingPriority priority, Job job);
    void work(const std::stop_token& stop);
    Job next(const std::stop_token& stop);
    bool isIdle() const noexcept;

    std::mutex mutex_;
    std::condition_variable_any jobCame_;
    std::array<std::deque<Job>, 5> waiting_;
    // Last, so that the threads are gone before what they use.
    std::array<std::jthread, concurrency> threads_;
};

} // namespace tarnwick
