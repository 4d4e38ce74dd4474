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

/// Work on files through the process's queue, whose ends are told on the calling thread. Belongs to one
/// thread, but for what is said of post(). Once one of these was stopped, the queue takes no more work.
class QueuedWork {
public:
    /// A requested `cancellation` stops. Throws std::system_error.
    explicit QueuedWork(const Cancellation& cancellation);
    /// Stops, and waits until the running operations have ended.
    ~QueuedWork();
    QueuedWork(const QueuedWork&) = delete;
    QueuedWork& operator=(const QueuedWork&) = delete;

    /// Requested once the work is to stop, for the operations to heed.
    const Cancellation& cancellation() const noexcept { return cancellation_; }

    /// Adds an operation to the queue (see CompressionQueue::run); `handler` is called within run().
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

    /// Has the function called within run(). From any thread.
    template <typename Function>
    void post(Function function) {
        asio::post(context_, std::move(function));
    }

    /// Blocks until everything that was added has ended. To be called once. The first exception of a handler
    /// stops the rest, and is thrown at the end.
    void run();

private:
    void countDown();
    void stop();

    const Cancellation cancellation_;
    asio::io_context context_;
    asio::posix::stream_descriptor request_;
    std::size_t pending_ = 0;
};

/// Whether a job ended with this error because it was stopped, before it began or later.
bool isStopped(const std::exception_ptr& error);

/// Runs one operation through the queue and returns when it has ended. Throws what it throws; Cancelled when
/// it was stopped.
void runQueued(const Cancellation& cancellation, const URL& url, std::function<void()> operation);

} // namespace tarnwick
