#include "Inspection/ReadingQueue.h"

#include <pthread.h>

#include <algorithm>
#include <system_error>

namespace tarnwick {
namespace {

/// At most 15 characters, the kernel's limit.
constexpr const char* threadName = "image-reading";

std::exception_ptr canceled() {
    return std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::operation_canceled)));
}

std::exception_ptr perform(BackgroundJob& job) {
    try {
        job.perform();
        return nullptr;
    } catch (...) {
        return std::current_exception();
    }
}

} // namespace

ReadingQueue::ReadingQueue() {
    for (std::jthread& thread : threads_) {
        thread = std::jthread([this](const std::stop_token& stop) { work(stop); });
    }
}

ReadingQueue::~ReadingQueue() {
    // All threads before the first join: a thread without the request would start the waiting jobs.
    for (std::jthread& thread : threads_) {
        thread.request_stop();
    }
}

ReadingQueue& ReadingQueue::shared() {
    static ReadingQueue queue;
    return queue;
}

void ReadingQueue::submit(ReadingPriority priority, Job job) {
    {
        const std::scoped_lock lock(mutex_);
        waiting_.at(static_cast<std::size_t>(priority)).push_back(std::move(job));
    }
    jobCame_.notify_one();
}

void ReadingQueue::work(const std::stop_token& stop) {
    // The name is only for debugging.
    static_cast<void>(::pthread_setname_np(::pthread_self(), threadName));
    while (const Job job = next(stop)) {
        std::exception_ptr error = stop.stop_requested() ? canceled() : perform(*job);
        job->complete(std::move(error));
    }
}

/// Waits for a job. None when the queue is empty and stops.
ReadingQueue::Job ReadingQueue::next(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    jobCame_.wait(lock, stop, [this] { return !isIdle(); });
    const auto urgent =
        std::find_if(waiting_.rbegin(), waiting_.rend(), [](const auto& jobs) { return !jobs.empty(); });
    if (urgent == waiting_.rend()) {
        return nullptr;
    }
    Job job = std::move(urgent->front());
    urgent->pop_front();
    return job;
}

bool ReadingQueue::isIdle() const noexcept {
    return std::all_of(waiting_.begin(), waiting_.end(), [](const auto& jobs) { return jobs.empty(); });
}

} // namespace tarnwick
