#include "Tarnwick/QtSupport/MainThreadExecutor.h"

#include <QCoreApplication>
#include <QEvent>

namespace tarnwick {

void MainThreadExecutor::post(std::function<void()> function) const {
    const std::lock_guard lock(target_->mutex);
    if (target_->receiver != nullptr) {
        target_->functions.push_back(std::move(function));
        QCoreApplication::postEvent(target_->receiver, new QEvent(QEvent::User));
    }
}

MainThreadContext::~MainThreadContext() {
    // Destroyed after the lock, since a function may own what uses the executor.
    std::deque<std::function<void()>> dropped;
    const std::lock_guard lock(executor_.target_->mutex);
    executor_.target_->receiver = nullptr;
    dropped.swap(executor_.target_->functions);
}

void MainThreadContext::customEvent(QEvent* /*event*/) {
    MainThreadExecutor::Target& target = *executor_.target_;
    std::unique_lock lock(target.mutex);
    const auto function = std::move(target.functions.front());
    target.functions.pop_front();
    lock.unlock();
    // May destroy this context.
    function();
}

} // namespace tarnwick
