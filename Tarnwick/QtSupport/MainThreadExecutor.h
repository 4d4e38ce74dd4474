#pragma once

#include <asio/execution/blocking.hpp>

#include <QObject>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

namespace tarnwick {

/// An Asio executor that runs functions in the event loop of the thread of its MainThreadContext, in the
/// order of execute(). It drops functions once the context is destroyed. Any thread may use it at any time.
class MainThreadExecutor {
public:
    static constexpr asio::execution::blocking_t::never_t query(asio::execution::blocking_t) noexcept {
        return {};
    }

    template <typename Function>
    void execute(Function&& function) const {
        // std::function takes only what can be copied.
        auto shared = std::make_shared<std::decay_t<Function>>(std::forward<Function>(function));
        post([shared = std::move(shared)] { (*shared)(); });
    }

    friend bool operator==(const MainThreadExecutor&, const MainThreadExecutor&) = default;

private:
    friend class MainThreadContext;

    /// The functions are in a queue of their own, and Qt's queue only has an event for each: the thread
    /// sanitizer does not see the locks of Qt's queue.
    struct Target {
        std::mutex mutex;
        QObject* receiver;
        std::deque<std::function<void()>> functions;
    };

    explicit MainThreadExecutor(QObject* receiver)
        : target_(new Target{.mutex = {}, .receiver = receiver, .functions = {}}) {}

    void post(std::function<void()> function) const;

    std::shared_ptr<Target> target_;
};

/// Belongs to the object that the handlers on its executor use, so that they run only while that exists.
class MainThreadContext : private QObject {
public:
    MainThreadContext() : executor_(this) {}
    MainThreadContext(const MainThreadContext&) = delete;
    MainThreadContext& operator=(const MainThreadContext&) = delete;
    ~MainThreadContext() override;

    const MainThreadExecutor& executor() const noexcept { return executor_; }

private:
    void customEvent(QEvent* event) override;

    MainThreadExecutor executor_;
};

} // namespace tarnwick
