#include "TarnwickCommand/Output.h"

#include "Foundation/FileSystemError.h"
#include "TarnwickCommand/TerminalText.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace tarnwick {
namespace {

constexpr std::size_t usualColumns = 80;

bool isDumb(const char* terminal) {
    return terminal == nullptr || std::string_view(terminal) == "dumb";
}

} // namespace

void Output::write(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor_, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            // Another process that shares the descriptor made it non-blocking.
            waitUntilWritable();
        } else if (errno != EINTR) {
            throw OutputFailed("无法写入标准输出：" + systemErrorText(errno));
        }
    }
}

void Output::waitUntilWritable() const {
    pollfd event = {descriptor_, POLLOUT, 0};
    if (::poll(&event, 1, -1) < 0 && errno != EINTR) {
        throw OutputFailed("无法写入标准输出：" + systemErrorText(errno));
    }
}

void Output::writeLine(std::string_view line) const {
    write(std::string(line) + '\n');
}

bool Output::isTerminal() const noexcept {
    return ::isatty(descriptor_) == 1 && !isDumb(std::getenv("TERM"));
}

std::size_t Output::columns() const noexcept {
    winsize size{};
    const bool known = ::ioctl(descriptor_, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : usualColumns;
}

void printError(std::string_view message) {
    const std::string line = "tarnwick：" + std::string(message) + '\n';
    // There is no other place to report a failure of standard error.
    [[maybe_unused]] const auto written = std::fwrite(line.data(), 1, line.size(), stderr);
}

TransientLine::TransientLine(const Output& output, bool isShown, std::string_view text)
    : output_(output), isShown_(isShown && output.isTerminal()) {
    if (isShown_) {
        output_.write(TerminalText::elidedInMiddle(text, output_.columns() - 1));
    }
}

TransientLine::~TransientLine() {
    if (!isShown_) {
        return;
    }
    try {
        output_.write("\r\x1b[K");
    } catch (const OutputFailed&) {
        // The next write reports the same failure.
    }
}

} // namespace tarnwick
