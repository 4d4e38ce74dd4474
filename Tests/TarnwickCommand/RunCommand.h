#pragma once

#include "Foundation/FileDescriptor.h"
#include "Support/TemporaryFolder.h"
#include "TarnwickCommand/JSONLine.h"

#include <nlohmann/json.hpp>
#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test {

struct CommandEnd {
    /// As a shell tells it: 128 and the number of the signal for one that was killed.
    int status = -1;
    std::string output;
    std::string errors;

    /// Each line of the output, parsed.
    std::vector<JSON> json() const;
};

/// The real executable, without a terminal and without input.
class RunningCommand {
public:
    explicit RunningCommand(const std::vector<std::string>& arguments);
    /// With its output going to a descriptor instead.
    RunningCommand(const std::vector<std::string>& arguments, const FileDescriptor& output);

    void kill(int signal) const;
    /// To be called once.
    CommandEnd wait() const;

private:
    TemporaryFolder folder_;
    pid_t pid_ = -1;
};

/// Runs it to its end.
CommandEnd runCommand(const std::vector<std::string>& arguments);

/// Runs it on a terminal of its own, types `answer` once it has written `question`, and gives back all that
/// then stands in the terminal's stream.
CommandEnd runOnTerminal(const std::vector<std::string>& arguments, std::string_view question,
                         std::string_view answer);

/// A shell script that stands for one of the tools.
void writeTool(const URL& folder, std::string_view name, std::string_view script);

} // namespace tarnwick::test
