#pragma once

#include "Foundation/FileDescriptor.h"
#include "Support/TemporaryFolder.h"

#include <nlohmann/json.hpp>
#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test {

using Words = std::vector<std::string>;

struct CommandResult {
    /// 128 + the signal's number after a signal, as in a shell.
    int status = -1;
    std::string output;
    std::string errors;

    /// Each line of the output, parsed.
    std::vector<nlohmann::ordered_json> json() const;
};

/// A process of the built `tarnwick`, without a terminal and without input.
class RunningCommand {
public:
    /// `output` replaces the file that takes the standard output.
    explicit RunningCommand(const Words& arguments, const FileDescriptor& output = FileDescriptor());

    pid_t pid() const { return pid_; }
    void kill(int signal) const;
    /// Call once.
    CommandResult wait() const;

private:
    TemporaryFolder folder_;
    pid_t pid_ = -1;
};

CommandResult runCommand(const Words& arguments);

bool hasPseudoTerminals();
/// Runs it on a pseudo-terminal, types `answer` when it has printed `question`, and returns all that it
/// printed.
CommandResult runOnTerminal(const Words& arguments, std::string_view question, std::string_view answer);

} // namespace tarnwick::test
