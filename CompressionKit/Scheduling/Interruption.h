#pragma once

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <optional>
#include <stop_token>

namespace tarnwick {

/// While it lives, a stop request makes the blocking system calls of the thread that created it fail with
/// EINTR until it is destroyed; so each such call must be followed by a look at the token. The request itself
/// returns when that thread is past this scope. SIGURG is used for it: the signal belongs to this class,
/// process-wide.
class Interruption {
public:
    explicit Interruption(const std::stop_token& stop);
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

private:
    void interruptUntilLeft() const;

    pthread_t thread_;
    sigset_t previousMask_{};
    std::atomic<bool> hasLeft_ = false;
    std::optional<std::stop_callback<std::function<void()>>> onStop_;
};

} // namespace tarnwick
