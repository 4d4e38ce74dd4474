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
    /// --yes: not to be asked.
    bool isConfirmed = false;
    std::optional<std::string> toolDirectory;
    std::optional<std::string> store;
};

/// What is printed instead of doing anything: help and version on standard output, wrong usage on standard
/// error.
struct Reply {
    std::string text;
    int status = ExitStatus::success;
};

/// `arguments` are those behind the program's name, of any bytes.
std::variant<Invocation, Reply> parseArguments(const std::vector<std::string>& arguments);

} // namespace tarnwick
