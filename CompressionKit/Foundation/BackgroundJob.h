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

/// Work for a thread of a queue, whatever its result.
class BackgroundJob {
public:
    BackgroundJob() = default;
    BackgroundJob(const BackgroundJob&) = delete;
    BackgroundJob& operator=(const BackgroundJob&) = delete;
    virtual ~BackgroundJob() = default;

    /// Does the work on the calling thread and keeps its result; throws what the work throws.
    virtual void perform() = 0;
    /// Hands the result of perform(), or the error, to the one who waits. To be called once, as the last
    /// call.
    virtual void complete(std::exception_ptr error) = 0;
};

/// What an operation returned, and how a completion handler takes it.
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

/// The job whose completion handler is `Handler`. What the job was given is gone before the handler runs: on
/// the executor associated with it, else on `fallback`.
template <typename Operation, typename Handler, typename Fallback>
class TypedBackgroundJob final : public BackgroundJob {
public:
    TypedBackgroundJob(Operation operation, Handler handler, const Fallback& fallback)
        : operation_(std::move(operation)), handler_(std::move(handler)),
          work_(asio::make_work_guard(handler_, fallback)) {}

    void perform() override { outcome_.capture(*operation_); }

    void complete(std::exception_ptr error) override {
        operation_.reset();
        // Held until the dispatch is over, and not by the handler: once the handler ran, its context may run
        // out of work and be destroyed, and this thread would still be in it.
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
