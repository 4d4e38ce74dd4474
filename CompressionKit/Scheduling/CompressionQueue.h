#pragma once

#include "Foundation/BackgroundJob.h"
#include "Foundation/URL.h"

#include <asio/async_result.hpp>
#include <asio/strand.hpp>
#include <asio/thread_pool.hpp>

#include <deque>
#include <functional>
#include <memory>
#include <set>
#include <stop_token>
#include <string>
#include <utility>

namespace tarnwick {

/// Runs all jobs on files of this process, in the order of submission: at most one job for each file and at
/// most `limit` jobs at a time. Each job holds an ExecutionPermit, so the same is true across processes. All
/// functions may be called from any thread.
class CompressionQueue {
public:
    static constexpr int maximumConcurrentTasks = 10;

    /// The limit is clamped to the range from 1 to maximumConcurrentTasks. All processes that share a
    /// coordination directory, by default Tarnwick/CompressionLocks in the user's application data, must use
    /// the same limit.
    explicit CompressionQueue(int maxConcurrentTasks, URL coordinationDirectory = defaultDirectory());
    CompressionQueue(const CompressionQueue&) = delete;
    CompressionQueue& operator=(const CompressionQueue&) = delete;
    /// Calls stop() and waits until the running operations have ended and all jobs have completed. A job must
    /// not call it. The executors of pending handlers must still exist.
    ~CompressionQueue();

    /// The queue of this process, destroyed when the process exits.
    static CompressionQueue& shared();

    /// The same text for all paths to a file, also through symbolic links; hard links count as different
    /// files. The file need not exist.
    static std::string fileIdentity(const URL& url);

    int limit() const noexcept { return limit_; }

    /// Runs `operation` when it is the file's turn, and completes with its result or exception. The
    /// completion signature is void(std::exception_ptr, Result), or void(std::exception_ptr) for a void
    /// operation.
    ///
    /// `operation` and, before it, `onStart` run on one of the queue's threads while the job holds its
    /// permit; both may block. An exception of either, or of the permit, ends the job. Then the permit is
    /// released, both functions are destroyed, and the completion handler runs on its associated executor;
    /// without one it runs on a thread of the queue and must not block.
    ///
    /// A single job cannot be cancelled; stop() ends all waiting jobs.
    template <typename Operation, typename CompletionToken>
    auto run(const URL& url, std::function<void()> onStart, Operation operation, CompletionToken&& token) {
        auto work = [onStart = std::move(onStart), operation = std::move(operation)]() mutable {
            if (onStart) {
                onStart();
            }
            return operation();
        };
        using Work = decltype(work);
        auto initiate = [this](auto&& handler, const URL& file, Work given) {
            using Task = TypedBackgroundJob<Work, std::decay_t<decltype(handler)>, Executor>;
            submit(file, std::make_unique<Task>(std::move(given), std::forward<decltype(handler)>(handler),
                                                worker_.get_executor()));
        };
        return asio::async_initiate<CompletionToken, typename JobOutcomeOf<Work>::Signature>(
            std::move(initiate), token, url, std::move(work));
    }
    template <typename Operation, typename CompletionToken>
    auto run(const URL& url, Operation operation, CompletionToken&& token) {
        return run(url, nullptr, std::move(operation), std::forward<CompletionToken>(token));
    }

    /// Completes all jobs whose operation has not begun, and all later ones, with std::system_error of
    /// std::errc::operation_canceled. Running operations continue; if they occupy all threads, the other jobs
    /// complete when one of them ends. Returns at once.
    void stop();
    /// Requested by stop(), and so also when the process exits.
    std::stop_token stopToken() const noexcept { return stop_.get_token(); }

private:
    using Executor = asio::thread_pool::executor_type;

    struct Job {
        std::string key;
        std::unique_ptr<BackgroundJob> work;
    };

    static URL defaultDirectory();

    void submit(const URL& url, std::unique_ptr<BackgroundJob> work);
    void startReadyJobs();
    void abandonPendingJobs();
    void start(Job job);
    std::exception_ptr perform(const Job& job) const;
    void complete(std::unique_ptr<BackgroundJob> work, std::exception_ptr error);

    const int limit_;
    const URL coordinationDirectory_;
    std::stop_source stop_;
    // One thread for each running job. The actor needs none of its own: it runs only when a job is submitted,
    // which can wait for a free thread, and when a job ends, which frees a thread.
    asio::thread_pool worker_;
    asio::strand<Executor> actor_;
    // Used by the actor only.
    std::deque<Job> pending_;
    std::set<std::string> activeKeys_;
};

} // namespace tarnwick
