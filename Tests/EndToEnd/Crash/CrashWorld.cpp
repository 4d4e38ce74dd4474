#include "CrashWorld.h"

#include "Support/Pictures.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <regex>
#include <stdexcept>

namespace tarnwick::test {
namespace {

/// Returns the exit status of the program. Also waits for the tools that a killed driver left.
int runAndWait(const std::vector<std::string>& words, const URL& temporary, const URL& data) {
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t child = ::fork();
    if (child == 0) {
        ::setenv("TMPDIR", temporary.c_str(), 1);
        ::setenv("XDG_DATA_HOME", data.c_str(), 1);
        std::vector<char*> arguments;
        arguments.reserve(words.size() + 1);
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
    int result = -1;
    int status = 0;
    for (pid_t ended = 0; (ended = ::waitpid(-1, &status, 0)) > 0;) {
        result = ended == child ? status : result;
    }
    return result;
}

} // namespace

CrashWorld::CrashWorld(const Pictures& pictures)
    : name_(pictures.name), original_(pictureText(pictures.original)) {
    pictures_.file(name_, original_);
    const URL output = pictures.output.empty() ? URL() : picture(pictures.output);
    createDirectories(home_ / "tmp");
    for (const char* tool : {"pngquant", "oxipng", "cjpegli", "gifsicle"}) {
        tools_.script(tool, {{"output", output.path()}});
    }
    tools_.script("ssimulacra2", {{"print", "90.0"}});
}

void CrashWorld::beginCompressed() {
    const Outcome outcome = run("compress", 0, true);
    if (outcome.isKilled) {
        throw std::runtime_error("killed at no call");
    }
}

Outcome CrashWorld::run(const std::string& operation, int number, bool isBefore) {
    const URL trace = home_ / ("trace-" + operation);
    removeFile(trace);
    std::vector<std::string> words = {TARNWICK_CRASH_DRIVER, trace.path(), std::to_string(number),
                                      isBefore ? "before" : "after", operation};
    if (operation == "compress") {
        words.push_back(file().path());
    }
    words.push_back(store().root().path());
    words.push_back(tools_.folder().path());
    const int status = runAndWait(words, home_ / "tmp", home_ / "data");
    const bool isKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    if (!isKilled && status != 0) {
        throw std::runtime_error("the crash driver failed");
    }
    return {isKilled, readTrace(trace)};
}

URL CrashWorld::resultFile() const {
    return name_.ends_with(".heic") ? pictures_ / "photo.png" : file();
}

std::string CrashWorld::leftovers() const {
    std::string names;
    for (const URL& item : entries(pictures_.url())) {
        names += " " + shortened(item.path());
    }
    return names;
}

std::string CrashWorld::shortened(const std::string& path) const {
    std::string text = path;
    for (const auto& [folder, name] :
         {std::pair(pictures_.url().path() + "/", ""), std::pair(home_.url().path() + "/", "~/"),
          std::pair(tools_.folder().path() + "/", "tools/")}) {
        if (text.starts_with(folder)) {
            text = name + text.substr(folder.size());
        }
    }
    return std::regex_replace(text, std::regex("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"), "#");
}

} // namespace tarnwick::test
