#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tarnwick {

namespace ExitStatus {
constexpr int success = 0;
constexpr int failure = 1;
constexpr int wrongUsage = 2;
} // namespace ExitStatus

/// What the command line asks for.
struct Invocation {
    enum class Command { compress, inspect, history, restore, deleteRecords, clear, maintain };

    Command command = Command::compress;
    /// Paths and record identifiers, as they were given.
    std::vector<std::string> operands;
    bool json = false;
    /// --again: compress earlier results too.
    bool isAgain = false;
    /// --yes: clear without asking.
    bool isConfirmed = false;
    std::optional<std::string> toolDirectory;
    std::optional<std::string> store;
};

/// Text to print instead of running a command: help and version go to standard output, wrong usage to
/// standard error.
struct Reply {
    std::string text;
    int status = ExitStatus::success;
};

/// `arguments` exclude the program's name and may hold any bytes.
std::variant<Invocation, Reply> parseArguments(const std::vector<std::string>& arguments);

} // namespace tarnwick
