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

/// The one way by which a process works on files: first come, first served, at most one job a file and at
/// most `limit` jobs at a time; an ExecutionPermit for each job holds the same against other processes. All
/// functions may be called from any thread.
class CompressionQueue {
public:
    static constexpr int maximumConcurrentTasks = 10;

    /// The limit is brought into the range from 1 to maximumConcurrentTasks. All processes that share a
    /// coordination directory, by default Tarnwick/CompressionLocks in the user's application data, must use
    /// one limit.
    explicit CompressionQueue(int maxConcurrentTasks, URL coordinationDirectory = defaultDirectory());
    CompressionQueue(const CompressionQueue&) = delete;
    CompressionQueue& operator=(const CompressionQueue&) = delete;
    /// Stops, and returns when the running operations have ended and all jobs have completed. Not to be
    /// called by a job. The executors of the handlers that still wait must be there.
    ~CompressionQueue();

    /// The process's own queue. It ends with the process, in the way its destructor says.
    static CompressionQueue& shared();

    /// The same text for all paths that lead to one file, through links too; hard links stay different files.
    /// The file need not exist.
    static std::string fileIdentity(const URL& url);

    int limit() const noexcept { return limit_; }

    /// Runs `operation` when it is the file's turn, and completes with what it returns or throws: the
    /// signature is void(std::exception_ptr, Result), or void(std::exception_ptr) for a void operation.
    ///
    /// `operation` and, before it, `onStart` run on one of the queue's threads while the job holds its
    /// permit; both may block. What either throws ends the job, and so does an error of the permit. The
    /// permit is free, and both functions are destroyed, before the completion handler is called through its
    /// associated executor; without one it runs on a thread of the queue and must not block.
    ///
    /// A job cannot be cancelled by itself; stop() ends all that wait.
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

    /// Completes the jobs whose operation has not begun, and those submitted from now on, with
    /// std::system_error of std::errc::operation_canceled. Running operations go on; when they
    /// occupy all threads, the others complete as soon as one of them ends. Does not wait for any of it.
    void stop();

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
    // A thread for each job that runs. The actor needs none of its own: it has something to do only when a
    // job comes, which may wait while all threads are taken, or when one ends and leaves its thread.
    asio::thread_pool worker_;
    asio::strand<Executor> actor_;
    // Touched by the actor only.
    std::deque<Job> pending_;
    std::set<std::string> activeKeys_;
};

} // namespace tarnwick
