#pragma once

#include <asio/execution/blocking.hpp>

#include <QMetaObject>
#include <QObject>
#include <memory>
#include <mutex>
#include <utility>

namespace tarnwick {

/// An Asio executor whose functions run in the event loop of the thread that its MainThreadContext lives on,
/// in the order of their coming; those that come after the context's end are dropped unrun. Any thread may
/// use it at any time.
class MainThreadExecutor {
public:
    static constexpr asio::execution::blocking_t::never_t query(asio::execution::blocking_t) noexcept {
        return {};
    }

    template <typename Function>
    void execute(Function&& function) const {
        const std::lock_guard lock(target_->mutex);
        if (target_->receiver != nullptr) {
#ifndef __clang_analyzer__ // It takes what Qt keeps for the event loop to be lost.
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

/// Lives and dies with whatever the handlers on its executor work on, so that they need not ask whether that
/// still exists.
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
