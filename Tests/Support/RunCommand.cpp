#include "Support/RunCommand.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <sstream>

namespace tarnwick::test {
namespace {

std::vector<char*> argumentVector(const Words& arguments) {
    std::vector<char*> vector = {const_cast<char*>(TARNWICK_EXECUTABLE)};
    std::transform(arguments.begin(), arguments.end(), std::back_inserter(vector),
                   [](const std::string& argument) { return const_cast<char*>(argument.c_str()); });
    vector.push_back(nullptr);
    return vector;
}

int waitFor(pid_t pid) {
    int status = 0;
    EXPECT_EQ(::waitpid(pid, &status, 0), pid);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

std::vector<nlohmann::ordered_json> CommandResult::json() const {
    std::vector<nlohmann::ordered_json> objects;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        objects.push_back(nlohmann::ordered_json::parse(line));
    }
    return objects;
}

RunningCommand::RunningCommand(const Words& arguments, const FileDescriptor& output) {
    const FileDescriptor file = createNewFile(folder_ / "output", 0600);
    const FileDescriptor errors = createNewFile(folder_ / "errors", 0600);
    std::vector<char*> vector = argumentVector(arguments);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output ? output.get() : file.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors.get(), STDERR_FILENO);
    EXPECT_EQ(::posix_spawn(&pid_, vector[0], &actions, nullptr, vector.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
}

void RunningCommand::kill(int signal) const {
    ASSERT_EQ(::kill(pid_, signal), 0);
}

CommandResult RunningCommand::wait() const {
    const int status = waitFor(pid_);
    return {.status = status, .output = contents(folder_ / "output"), .errors = contents(folder_ / "errors")};
}

CommandResult runCommand(const Words& arguments) {
    return RunningCommand(arguments).wait();
}

bool hasPseudoTerminals() {
    const FileDescriptor terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    std::array<char, 64> name{};
    return terminal && ::ptsname_r(terminal.get(), name.data(), name.size()) == 0 &&
           itemExists(URL::file(name.data()));
}

CommandResult runOnTerminal(const Words& arguments, std::string_view question, std::string_view answer) {
    std::vector<char*> vector = argumentVector(arguments);
    int master = -1;
    const pid_t pid = ::forkpty(&master, nullptr, nullptr, nullptr);
    if (pid == 0) {
        // By default Ctrl-C discards output that is still in the terminal's queue.
        termios settings{};
        ::tcgetattr(STDIN_FILENO, &settings);
        settings.c_lflag |= NOFLSH;
        ::tcsetattr(STDIN_FILENO, TCSANOW, &settings);
        ::setenv("TERM", "xterm", 1);
        ::execv(vector[0], vector.data());
        ::_exit(127);
    }
    const FileDescriptor terminal(master);
    CommandResult result;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::read(master, buffer.data(), buffer.size())) > 0;) {
        result.output.append(buffer.data(), static_cast<std::size_t>(count));
        if (!answer.empty() && result.output.find(question) != std::string::npos) {
            writeAll(terminal, {reinterpret_cast<const std::uint8_t*>(answer.data()), answer.size()}, URL());
            answer = {};
        }
    }
    result.status = waitFor(pid);
    return result;
}

} // namespace tarnwick::test
