#include "TarnwickCommand/QueuedWork.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace tarnwick {

QueuedWork::QueuedWork(const Cancellation& cancellation)
    : cancellation_(cancellation.linked()), request_(context_) {
    const int descriptor = ::dup(cancellation_.descriptor());
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "dup");
    }
    request_.assign(descriptor);
    request_.async_wait(asio::posix::stream_descriptor::wait_read, [this](std::error_code code) {
        if (!code) {
            stop();
        }
    });
}

QueuedWork::~QueuedWork() {
    if (pending_ > 0) {
        stop();
        try {
            run();
        } catch (...) {
            // Another exception is propagating already, else run() would have been called before.
        }
    }
}

void QueuedWork::run() {
    if (pending_ == 0) {
        request_.cancel();
    }
    std::exception_ptr first;
    // Runs until the context has no more work, not only no more handlers: the queue's thread still uses the
    // context briefly after it posted a handler.
    for (std::size_t ran = 1; ran > 0;) {
        try {
            ran = context_.run_one();
        } catch (...) {
            first = first ? first : std::current_exception();
            stop();
        }
    }
    if (first) {
        std::rethrow_exception(first);
    }
}

void QueuedWork::countDown() {
    if (--pending_ == 0) {
        request_.cancel();
    }
}

void QueuedWork::stop() {
    cancellation_.request();
    CompressionQueue::shared().stop();
}

bool isStopped(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const Cancelled&) {
        return true;
    } catch (const std::system_error& failure) {
        return failure.code() == std::errc::operation_canceled;
    } catch (...) {
        return false;
    }
}

void runQueued(const Cancellation& cancellation, const URL& url, std::function<void()> operation) {
    std::exception_ptr failure;
    QueuedWork work(cancellation);
    work.add(url, nullptr, std::move(operation),
             [&failure](std::exception_ptr error) { failure = std::move(error); });
    work.run();
    if (failure && isStopped(failure)) {
        throw Cancelled();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace tarnwick
