#pragma once

#include "Foundation/URL.h"
#include "Process/Cancellation.h"
#include "Scheduling/CompressionQueue.h"

#include <asio/bind_executor.hpp>
#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>

#include <cstddef>
#include <exception>
#include <functional>
#include <utility>

namespace tarnwick {

/// Runs operations on files through the process's queue; completion handlers run on the calling thread. Only
/// post() may be called from other threads. After one instance was stopped, the queue accepts no more work.
class QueuedWork {
public:
    /// Stops when `cancellation` is requested. Throws std::system_error.
    explicit QueuedWork(const Cancellation& cancellation);
    /// Stops, and waits for the running operations.
    ~QueuedWork();
    QueuedWork(const QueuedWork&) = delete;
    QueuedWork& operator=(const QueuedWork&) = delete;

    /// Requested when the work stops; the operations must check it.
    const Cancellation& cancellation() const noexcept { return cancellation_; }

    /// Adds an operation to the queue (see CompressionQueue::run). run() calls `handler`.
    template <typename Operation, typename Handler>
    void add(const URL& url, std::function<void()> onStart, Operation operation, Handler handler) {
        ++pending_;
        auto ended = [this, handler = std::move(handler)](auto&&... outcome) mutable {
            countDown();
            handler(std::forward<decltype(outcome)>(outcome)...);
        };
        CompressionQueue::shared().run(url, std::move(onStart), std::move(operation),
                                       asio::bind_executor(context_.get_executor(), std::move(ended)));
    }

    /// Makes run() call the function. Thread-safe.
    template <typename Function>
    void post(Function function) {
        asio::post(context_, std::move(function));
    }

    /// Blocks until all added operations have finished. Call once. The first exception of a handler stops the
    /// rest and is thrown at the end.
    void run();

private:
    void countDown();
    void stop();

    const Cancellation cancellation_;
    asio::io_context context_;
    asio::posix::stream_descriptor request_;
    std::size_t pending_ = 0;
};

/// Whether this error means that the job was stopped.
bool isStopped(const std::exception_ptr& error);

/// Runs one operation through the queue and blocks until it has finished. Throws its exception, or Cancelled
/// when it was stopped.
void runQueued(const Cancellation& cancellation, const URL& url, std::function<void()> operation);

} // namespace tarnwick
