#pragma once

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <optional>
#include <stop_token>

namespace tarnwick {

/// While it exists, a stop request makes blocking system calls of the thread that created it fail with EINTR.
/// Check the token after each such call. The stop request itself returns after this object was destroyed. The
/// class reserves SIGURG for the whole process.
class SystemCallInterrupter {
public:
    explicit SystemCallInterrupter(const std::stop_token& stop);
    ~SystemCallInterrupter();
    SystemCallInterrupter(const SystemCallInterrupter&) = delete;
    SystemCallInterrupter& operator=(const SystemCallInterrupter&) = delete;

private:
    void interruptUntilDestroyed() const;

    pthread_t thread_;
    sigset_t previousMask_{};
    std::atomic<bool> isLeaving_ = false;
    std::optional<std::stop_callback<std::function<void()>>> onStop_;
};

} // namespace tarnwick
