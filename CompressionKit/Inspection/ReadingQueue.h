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

/// The waiting body of the highest priority is next; among equals, the first submitted.
enum class ReadingPriority { veryLow, low, normal, high, veryHigh };

/// Two threads that read pictures for display, so that large pictures neither block the interface nor
/// overload the machine. All functions may be called from any thread.
class ReadingQueue {
public:
    static constexpr std::size_t concurrency = 2;

    ReadingQueue();
    ReadingQueue(const ReadingQueue&) = delete;
    ReadingQueue& operator=(const ReadingQueue&) = delete;
    /// Waits for the running bodies, and completes the waiting ones with std::system_error of
    /// std::errc::operation_canceled. The handlers' executors must still exist.
    ~ReadingQueue();

    /// The queue of the process, destroyed at its exit.
    static ReadingQueue& shared();

    /// Runs `body` and completes with its result or exception: the signature is
    /// void(std::exception_ptr, Result), or void(std::exception_ptr) for a void body. The body is destroyed
    /// before the completion handler runs on its associated executor. Without one the handler runs on a
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
    // Last, so that the threads end before the members that they use are destroyed.
    std::array<std::jthread, concurrency> threads_;
};

} // namespace tarnwick
