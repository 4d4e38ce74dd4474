#include "Support/Unprivileged.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace tarnwick::test {
namespace {

constexpr unsigned nobody = 65534;

void dropRights() {
    if (::getuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)) {
        throw std::runtime_error("cannot drop root's rights");
    }
}

[[noreturn]] void runChild(int report, const std::function<std::string()>& body) {
    std::string text;
    try {
        dropRights();
        text = body();
    } catch (const std::exception& error) {
        text = std::string("exception: ") + error.what();
    }
    const bool isWritten = ::write(report, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    // Neither the test's destructors nor its report belong to this process.
    ::_exit(isWritten ? 0 : 1);
}

} // namespace

std::string unprivileged(const std::function<std::string()>& body) {
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0) {
        throw std::runtime_error("pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        runChild(pipe[1], body);
    }
    ::close(pipe[1]);
    std::string report;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::read(pipe[0], buffer.data(), buffer.size())) > 0;) {
        report.append(buffer.data(), static_cast<std::size_t>(count));
    }
    ::close(pipe[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status)) : report;
}

} // namespace tarnwick::test
