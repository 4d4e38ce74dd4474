#pragma once

#include "Foundation/FileDescriptor.h"
#include "Foundation/URL.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>
#include <string>

namespace tarnwick::test {

/// Another process that takes an ExecutionPermit and keeps it until it is killed.
class HolderProcess {
public:
    HolderProcess(const URL& directory, const std::string& key, int capacity) {
        std::array<int, 2> pipe{};
        if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("pipe2");
        }
        output_ = FileDescriptor(pipe[0]);
        const FileDescriptor input(pipe[1]);
        const std::string slots = std::to_string(capacity);
        process_ = ::fork();
        if (process_ == 0) {
            ::dup2(input.get(), STDOUT_FILENO);
            ::execl(TARNWICK_PERMIT_HOLDER, "permit-holder", directory.c_str(), key.c_str(), slots.c_str(),
                    nullptr);
            ::_exit(127);
        }
    }
    ~HolderProcess() { kill(); }
    HolderProcess(const HolderProcess&) = delete;
    HolderProcess& operator=(const HolderProcess&) = delete;

    /// Whether it has the permit, or gets it within the milliseconds.
    bool isHolding(int patience = 30'000) const {
        pollfd output = {output_.get(), POLLIN, 0};
        return ::poll(&output, 1, patience) == 1 && (output.revents & POLLIN) != 0;
    }
    void kill() {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            ::waitpid(process_, nullptr, 0);
            process_ = -1;
        }
    }

private:
    pid_t process_ = -1;
    FileDescriptor output_;
};

} // namespace tarnwick::test
