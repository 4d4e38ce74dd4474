// Stands in for a tool, runs the real one, and records the run: in $TIMED_TOOL_LOG a line with the seconds at
// its beginning and its end, in $TIMED_TOOL_SCRIPT the same command for a shell. The files that it reads are
// linked into $TIMED_TOOL_FILES, so that the script finds them later; the real tools are in $TIMED_TOOL_REAL.

#include "Measuring.h"
#include "Process/ChildProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
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

/// The words of the command for the script: what is read is linked aside, what is written goes to the
/// script's own folder under the same name.
std::string replayed(const std::string& tool, const std::vector<std::string>& arguments) {
    std::string line = shellWord(tool);
    for (std::string word : arguments) {
        if (fs::is_regular_file(word)) {
            // Of one name in all runs that read it, and that of the run which wrote it.
            const std::string kept = variable("TIMED_TOOL_FILES") + "/" + UUID::random().text() + "-" +
                                     fs::path(word).filename().native();
            fs::create_hard_link(word, kept);
            word = kept;
        } else if (word.starts_with("/") && fs::is_directory(fs::path(word).parent_path())) {
            word = variable("TIMED_TOOL_FILES") + "/out-" + UUID::random().text() +
                   fs::path(word).extension().native();
        }
        line += " " + shellWord(word);
    }
    return line + " > /dev/null 2>&1";
}

int runTool(const std::vector<std::string>& words) {
    const std::vector<std::string> arguments(words.begin() + 1, words.end());
    const URL tool =
        URL::file(variable("TIMED_TOOL_REAL")).appending(fs::path(words.front()).filename().native());
    const std::string line = replayed(tool.path(), arguments);
    const double start = now();
    ChildProcess child(tool, arguments, FileDescriptor(::dup(STDOUT_FILENO)),
                       FileDescriptor(::dup(STDERR_FILENO)));
    child.wait(std::chrono::hours(1));
    const int status = child.reap();
    appendLine(variable("TIMED_TOOL_LOG"),
               fmt::format("{:.6f} {:.6f} {}", start, now(), tool.lastPathComponent()));
    appendLine(variable("TIMED_TOOL_SCRIPT"), line);
    return status;
}

} // namespace

int main(int count, char** words) {
    return benchmark::run([&] { return runTool({words, words + count}); });
}
