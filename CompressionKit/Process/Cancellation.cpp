#include "Process/Cancellation.h"

#include "Process/Event.h"

#include <poll.h>
#include <sys/epoll.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

namespace tarnwick {
namespace {

/// A descriptor that is readable when either of the two is.
FileDescriptor either(int first, int second) {
    FileDescriptor set(::epoll_create1(EPOLL_CLOEXEC));
    for (const int member : {first, second}) {
        epoll_event event = {};
        event.events = EPOLLIN;
        if (::epoll_ctl(set.get(), EPOLL_CTL_ADD, member, &event) != 0) {
            throw std::system_error(errno, std::generic_category(), "epoll");
        }
    }
    return set;
}

} // namespace

struct Cancellation::State {
    Event own;
    Cancellation parent = never();
    FileDescriptor ownOrParent = {};

    int descriptor() const noexcept { return ownOrParent ? ownOrParent.get() : own.descriptor(); }
};

Cancellation Cancellation::make() {
    Cancellation cancellation;
    cancellation.state_ = std::make_shared<const State>();
    return cancellation;
}

Cancellation Cancellation::linked() const {
    auto state = std::make_shared<State>();
    if (state_) {
        state->parent = *this;
        state->ownOrParent = either(state->own.descriptor(), descriptor());
    }
    Cancellation cancellation;
    cancellation.state_ = std::move(state);
    return cancellation;
}

void Cancellation::request() const noexcept {
    if (state_) {
        state_->own.set();
    }
}

bool Cancellation::isRequested() const noexcept {
    return isReadable(descriptor());
}

int Cancellation::descriptor() const noexcept {
    return state_ ? state_->descriptor() : -1;
}

void sleepUnlessCancelled(double seconds, const Cancellation& cancellation) {
    using Clock = std::chrono::steady_clock;
    using std::chrono::milliseconds;
    const auto end =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    pollfd request = {cancellation.descriptor(), POLLIN, 0};
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
        const auto wait = std::chrono::ceil<milliseconds>(end - now).count();
        const int readable = ::poll(&request, 1, static_cast<int>(wait));
        if (readable > 0) {
            throw Cancelled();
        }
        if (readable < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
    }
}

const char* Cancelled::what() const noexcept {
    return "已取消";
}

} // namespace tarnwick
