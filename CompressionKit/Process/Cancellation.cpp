#include "Process/Cancellation.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace tarnwick {

Cancellation Cancellation::make() {
    FileDescriptor event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!event) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    Cancellation cancellation;
    cancellation.event_ = std::make_shared<const FileDescriptor>(std::move(event));
    return cancellation;
}

void Cancellation::request() const noexcept {
    const int interruptedCode = errno;
    constexpr eventfd_t one = 1;
    // It fails only when the counter is full, that is when the request stands already.
    [[maybe_unused]] const int result = event_ ? ::eventfd_write(event_->get(), one) : 0;
    errno = interruptedCode;
}

bool Cancellation::isRequested() const noexcept {
    pollfd event = {descriptor(), POLLIN, 0};
    return event_ && ::poll(&event, 1, 0) == 1;
}

int Cancellation::descriptor() const noexcept {
    return event_ ? event_->get() : -1;
}

const char* Cancelled::what() const noexcept {
    return "已取消";
}

} // namespace tarnwick
