#include "TarnwickCommand/RunCommand.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <spawn.h>
#include <sys/stat.h>
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

std::vector<char*> argumentVector(const std::vector<std::string>& arguments) {
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

pid_t spawn(const std::vector<std::string>& arguments, int output, int errors) {
    std::vector<char*> vector = argumentVector(arguments);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    pid_t pid = -1;
    EXPECT_EQ(::posix_spawn(&pid, vector[0], &actions, nullptr, vector.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

} // namespace

std::vector<JSON> CommandEnd::json() const {
    std::vector<JSON> objects;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        objects.push_back(JSON::parse(line));
    }
    return objects;
}

RunningCommand::RunningCommand(const std::vector<std::string>& arguments)
    : RunningCommand(arguments, FileDescriptor()) {}

RunningCommand::RunningCommand(const std::vector<std::string>& arguments, const FileDescriptor& output) {
    const FileDescriptor file = createNewFile(folder_ / "output", 0600);
    const FileDescriptor errors = createNewFile(folder_ / "errors", 0600);
    pid_ = spawn(arguments, output ? output.get() : file.get(), errors.get());
}

void RunningCommand::kill(int signal) const {
    ASSERT_EQ(::kill(pid_, signal), 0);
}

CommandEnd RunningCommand::wait() const {
    return {.status = waitFor(pid_),
            .output = contents(folder_ / "output"),
            .errors = contents(folder_ / "errors")};
}

CommandEnd runCommand(const std::vector<std::string>& arguments) {
    return RunningCommand(arguments).wait();
}

CommandEnd runOnTerminal(const std::vector<std::string>& arguments, std::string_view question,
                         std::string_view answer) {
    std::vector<char*> vector = argumentVector(arguments);
    int master = -1;
    const pid_t pid = ::forkpty(&master, nullptr, nullptr, nullptr);
    if (pid == 0) {
        // Ctrl-C would throw away what the command writes just then.
        termios settings{};
        ::tcgetattr(STDIN_FILENO, &settings);
        settings.c_lflag |= NOFLSH;
        ::tcsetattr(STDIN_FILENO, TCSANOW, &settings);
        ::setenv("TERM", "xterm", 1);
        ::execv(vector[0], vector.data());
        ::_exit(127);
    }
    const FileDescriptor terminal(master);
    CommandEnd end;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::read(master, buffer.data(), buffer.size())) > 0;) {
        end.output.append(buffer.data(), static_cast<std::size_t>(count));
        if (!answer.empty() && end.output.find(question) != std::string::npos) {
            writeAll(terminal, {reinterpret_cast<const std::uint8_t*>(answer.data()), answer.size()}, URL());
            answer = {};
        }
    }
    end.status = waitFor(pid);
    return end;
}

void writeTool(const URL& folder, std::string_view name, std::string_view script) {
    const std::string text = "#!/bin/sh\n" + std::string(script) + "\n";
    const URL tool = folder.appending(name);
    writeFile(tool, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    ASSERT_EQ(::chmod(tool.c_str(), 0700), 0);
}

} // namespace tarnwick::test
