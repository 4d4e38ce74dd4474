#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace tarnwick::test {

/// How long a test waits for what must happen.
constexpr std::chrono::seconds patience{60};
/// Long enough for something to happen that must not happen.
constexpr std::chrono::milliseconds aMoment{200};

/// Checks the condition every few milliseconds until it holds; false when patience has run out. `pause` runs
/// between two checks: tests with an event loop process events in it.
inline bool waitUntil(
    const std::function<bool()>& condition,
    const std::function<void()>& pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(2)); }) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        pause();
    }
    return true;
}

/// A job whose body blocks until the test lets it finish.
class HeldJob {
public:
    using Body = std::function<void()>;

    /// `submit` starts the body on another thread and returns the future of the job.
    explicit HeldJob(const std::function<std::future<void>(Body)>& submit)
        : job_(submit([this] { begun_.set_value(), end_.get_future().wait(); })) {}
    HeldJob(const HeldJob&) = delete;
    HeldJob& operator=(const HeldJob&) = delete;
    ~HeldJob() {
        if (job_.valid()) {
            end_.set_value();
            job_.wait();
        }
    }

    bool hasBegun(std::chrono::milliseconds limit = patience) const {
        return begin_.wait_for(limit) == std::future_status::ready;
    }
    /// Lets the body return, and returns when the job is done. Throws what the job threw.
    void finish() {
        end_.set_value();
        job_.get();
    }
    /// Waits for a job that ends without its body. Throws what the job threw.
    void get() { job_.get(); }

private:
    std::promise<void> begun_;
    std::promise<void> end_;
    std::future<void> begin_ = begun_.get_future();
    std::future<void> job_;
};

} // namespace tarnwick::test
