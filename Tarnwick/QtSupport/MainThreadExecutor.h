#pragma once

#include <asio/execution/blocking.hpp>

#include <QMetaObject>
#include <QObject>
#include <memory>
#include <mutex>
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
        const std::lock_guard lock(target_->mutex);
        if (target_->receiver != nullptr) {
#ifndef __clang_analyzer__ // It reports a leak of what Qt keeps for the event loop.
            QMetaObject::invokeMethod(target_->receiver, std::forward<Function>(function),
                                      Qt::QueuedConnection);
#endif
        }
    }

    friend bool operator==(const MainThreadExecutor&, const MainThreadExecutor&) = default;

private:
    friend class MainThreadContext;

    struct Target {
        std::mutex mutex;
        QObject* receiver;
    };

    explicit MainThreadExecutor(QObject* receiver) : target_(new Target{.mutex = {}, .receiver = receiver}) {}

    std::shared_ptr<Target> target_;
};

/// Belongs to the object that the handlers on its executor use, so that they run only while that exists.
class MainThreadContext {
public:
    MainThreadContext() : executor_(&receiver_) {}
    MainThreadContext(const MainThreadContext&) = delete;
    MainThreadContext& operator=(const MainThreadContext&) = delete;
    ~MainThreadContext() {
        const std::lock_guard lock(executor_.target_->mutex);
        executor_.target_->receiver = nullptr;
    }

    const MainThreadExecutor& executor() const noexcept { return executor_; }

private:
    QObject receiver_;
    MainThreadExecutor executor_;
};

} // namespace tarnwick
