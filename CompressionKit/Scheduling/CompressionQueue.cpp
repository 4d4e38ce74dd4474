#include "Scheduling/CompressionQueue.h"

#include "Foundation/Directory.h"
#include "Scheduling/ExecutionPermit.h"

#include <asio/post.hpp>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <filesystem>
#include <system_error>

namespace tarnwick {

CompressionQueue::CompressionQueue(int maxConcurrentTasks, URL coordinationDirectory)
    : limit_(std::clamp(maxConcurrentTasks, 1, maximumConcurrentTasks)),
      coordinationDirectory_(std::move(coordinationDirectory)), worker_(static_cast<std::size_t>(limit_)),
      actor_(asio::make_strand(worker_)) {}

CompressionQueue::~CompressionQueue() {
    stop();
    worker_.join();
}

CompressionQueue& CompressionQueue::shared() {
    static CompressionQueue queue(maximumConcurrentTasks);
    return queue;
}

URL CompressionQueue::defaultDirectory() {
    return applicationSupportDirectory().appending("Tarnwick/CompressionLocks");
}

std::string CompressionQueue::fileIdentity(const URL& url) {
    std::error_code error;
    const std::filesystem::path path(url.path());
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, error);
    // A path that cannot be resolved (a loop of links, a folder without access) cannot be opened either.
    return error ? path.lexically_normal().native() : resolved.native();
}

void CompressionQueue::stop() {
    // Jobs that wait for a permit fail, and complete like any other failed job.
    stop_.request_stop();
    asio::post(actor_, [this] { startReadyJobs(); });
}

void CompressionQueue::submit(const URL& url, std::unique_ptr<BackgroundJob> work) {
    // The identity is resolved on the actor, because a slow file system must not block the caller.
    asio::post(actor_, [this, url, work = std::move(work)]() mutable {
        pending_.push_back({fileIdentity(url), std::move(work)});
        startReadyJobs();
    });
}

void CompressionQueue::startReadyJobs() {
    assert(actor_.running_in_this_thread());
    if (stop_.stop_requested()) {
        abandonPendingJobs();
    }
    while (activeKeys_.size() < static_cast<std::size_t>(limit_)) {
        const auto ready = std::find_if(pending_.begin(), pending_.end(),
                                        [this](const Job& job) { return !activeKeys_.contains(job.key); });
        if (ready == pending_.end()) {
            return;
        }
        Job job = std::move(*ready);
        pending_.erase(ready);
        activeKeys_.insert(job.key);
        start(std::move(job));
    }
}

void CompressionQueue::abandonPendingJobs() {
    for (Job& job : pending_) {
        const std::system_error canceled(std::make_error_code(std::errc::operation_canceled));
        complete(std::move(job.work), std::make_exception_ptr(canceled));
    }
    pending_.clear();
}

void CompressionQueue::start(Job job) {
    asio::post(worker_, [this, job = std::move(job)]() mutable {
        std::exception_ptr error = perform(job);
        asio::post(actor_, [this, job = std::move(job), error = std::move(error)]() mutable {
            activeKeys_.erase(job.key);
            complete(std::move(job.work), std::move(error));
            startReadyJobs();
        });
    });
}

std::exception_ptr CompressionQueue::perform(const Job& job) const {
    try {
        const ExecutionPermit permit(coordinationDirectory_, job.key, limit_, stop_.get_token());
        job.work->perform();
        return nullptr;
    } catch (...) {
        return std::current_exception();
    }
}

// Not on the actor: a handler may run within this call, and must not block the actor.
void CompressionQueue::complete(std::unique_ptr<BackgroundJob> work, std::exception_ptr error) {
    asio::post(worker_, [work = std::move(work), error = std::move(error)]() mutable {
        work->complete(std::move(error));
    });
}

} // namespace tarnwick
