#include "Process/Event.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace tarnwick {

Event::Event() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!descriptor_) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

void Event::set() const noexcept {
    const int interruptedCode = errno;
    constexpr eventfd_t one = 1;
    // Fails only when the counter is full, and then the event is set already.
    [[maybe_unused]] const int result = ::eventfd_write(descriptor(), one);
    errno = interruptedCode;
}

bool Event::isSet() const noexcept {
    return isReadable(descriptor());
}

bool isReadable(int descriptor) noexcept {
    pollfd event = {descriptor, POLLIN, 0};
    return ::poll(&event, 1, 0) == 1;
}

void waitUntilReadable(int first, int second) {
    std::array<pollfd, 2> events = {pollfd{first, POLLIN, 0}, pollfd{second, POLLIN, 0}};
    while (::poll(events.data(), events.size(), -1) < 0) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
    }
}

} // namespace tarnwick
