#pragma once

#include <asio/associated_executor.hpp>
#include <asio/bind_executor.hpp>
#include <asio/dispatch.hpp>
#include <asio/executor_work_guard.hpp>

#include <concepts>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace tarnwick {

/// Work for a thread of a queue; the type of its result is hidden.
class BackgroundJob {
public:
    BackgroundJob() = default;
    BackgroundJob(const BackgroundJob&) = delete;
    BackgroundJob& operator=(const BackgroundJob&) = delete;
    virtual ~BackgroundJob() = default;

    /// Does the work on the calling thread and stores its result. Throws what the work throws.
    virtual void perform() = 0;
    /// Passes the result of perform(), or the error, to the completion handler. Call it once, as the last
    /// call.
    virtual void complete(std::exception_ptr error) = 0;
};

/// The result of an operation, and its delivery to a completion handler.
template <typename Result>
class JobOutcome {
    static_assert(std::default_initializable<Result>, "a failed job completes with an empty result");

public:
    using Signature = void(std::exception_ptr, Result);

    template <typename Operation>
    void capture(Operation& operation) {
        result_ = operation();
    }
    template <typename Handler>
    void deliver(Handler& handler, std::exception_ptr error) {
        std::move(handler)(std::move(error), std::move(result_));
    }

private:
    Result result_{};
};

template <>
class JobOutcome<void> {
public:
    using Signature = void(std::exception_ptr);

    template <typename Operation>
    void capture(Operation& operation) {
        operation();
    }
    template <typename Handler>
    void deliver(Handler& handler, std::exception_ptr error) {
        std::move(handler)(std::move(error));
    }
};

template <typename Operation>
using JobOutcomeOf = JobOutcome<std::decay_t<std::invoke_result_t<Operation&>>>;

/// A job with the completion handler `Handler`. The handler runs on its associated executor, else on
/// `fallback`, after the operation and what it captured have been destroyed.
template <typename Operation, typename Handler, typename Fallback>
class TypedBackgroundJob final : public BackgroundJob {
public:
    TypedBackgroundJob(Operation operation, Handler handler, const Fallback& fallback)
        : operation_(std::move(operation)), handler_(std::move(handler)),
          work_(asio::make_work_guard(handler_, fallback)) {}

    void perform() override { outcome_.capture(*operation_); }

    void complete(std::exception_ptr error) override {
        operation_.reset();
        // Held by this call, not by the handler: when the handler returns, its context may run out of work
        // and be destroyed while this thread is still in dispatch().
        const auto work = std::move(work_);
        asio::dispatch(asio::bind_executor(
            work.get_executor(),
            [handler = std::move(handler_), outcome = std::move(outcome_),
             error = std::move(error)]() mutable { outcome.deliver(handler, std::move(error)); }));
    }

private:
    using Executor = asio::associated_executor_t<Handler, Fallback>;

    std::optional<Operation> operation_;
    Handler handler_;
    asio::executor_work_guard<Executor> work_;
    JobOutcomeOf<Operation> outcome_;
};

} // namespace tarnwick
