// Takes the place of a tool, runs the real one from $TIMED_TOOL_REAL, and records the run: in $TIMED_TOOL_LOG
// a line with the times of its start and its end, in $TIMED_TOOL_SCRIPT the same command for a shell. In the
// folder $TIMED_TOOL_FILES, `inputs` keeps the files that the command reads and `made` the files that it
// wrote; the command in the script writes files of the same names into `outputs`.

#include "Measuring.h"
#include "Process/ChildProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace tarnwick;
namespace fs = std::filesystem;

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) {
        throw std::runtime_error(std::string(name) + " is not set");
    }
    return value;
}

double now() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::string shellWord(const std::string& word) {
    std::string text = "'";
    for (const char c : word) {
        text += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return text + "'";
}

void appendLine(const std::string& path, const std::string& line) {
    const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666));
    const std::string text = line + "\n";
    if (!file || ::write(file.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("cannot write " + path);
    }
}

struct Recording {
    std::string command;
    /// The paths that the tool writes, and the names of the same files in `made` and in `outputs`.
    std::vector<std::pair<std::string, std::string>> written;
};

/// The command for the script. Keeps the files that it reads.
Recording recorded(const std::string& tool, const std::vector<std::string>& arguments) {
    const std::string files = variable("TIMED_TOOL_FILES");
    Recording recording{shellWord(tool), {}};
    for (std::string word : arguments) {
        const fs::path path(word);
        if (fs::is_regular_file(path)) {
            word = files + "/inputs/" + UUID::random().text() + "-" + path.filename().native();
            fs::create_hard_link(path, word);
        } else if (path.is_absolute() && fs::is_directory(path.parent_path())) {
            const std::string name = UUID::random().text() + path.extension().native();
            word = std::string(files).append("/outputs/").append(name);
            recording.written.emplace_back(path, name);
        }
        recording.command.append(" ").append(shellWord(word));
    }
    return recording;
}

/// Keeps what the tool made before anything else changes it.
void keep(const Recording& recording) {
    for (const auto& [path, name] : recording.written) {
        if (fs::exists(path)) {
            fs::create_hard_link(path, variable("TIMED_TOOL_FILES") + "/made/" + name);
        }
    }
}

int runTool(const std::vector<std::string>& words) {
    const std::vector<std::string> arguments(words.begin() + 1, words.end());
    const URL tool =
        URL::file(variable("TIMED_TOOL_REAL")).appending(fs::path(words.front()).filename().native());
    const Recording recording = recorded(tool.path(), arguments);
    const double start = now();
    ChildProcess child(tool, arguments, FileDescriptor(::dup(STDOUT_FILENO)),
                       FileDescriptor(::dup(STDERR_FILENO)));
    child.wait(std::chrono::hours(1));
    const int status = child.reap();
    appendLine(variable("TIMED_TOOL_LOG"),
               fmt::format("{:.6f} {:.6f} {}", start, now(), tool.lastPathComponent()));
    keep(recording);
    appendLine(variable("TIMED_TOOL_SCRIPT"),
               fmt::format("{} > /dev/null; [ $? = {} ] || exit 1", recording.command, status));
    return status;
}

} // namespace

int main(int count, char** words) {
    return benchmark::run([&] { return runTool({words, words + count}); });
}
