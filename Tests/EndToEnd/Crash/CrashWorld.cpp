#include "CrashWorld.h"

#include "Support/GIFMaker.h"
#include "Support/HEIFMaker.h"
#include "Support/JPEGMaker.h"
#include "Support/PNGMaker.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <regex>
#include <stdexcept>

namespace tarnwick::test {
namespace {

/// Returns how the program ended. The tools that a killed driver leaves behind are waited for too.
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

Pictures Pictures::png() {
    return {"photo.png", pngBytes({.compressionLevel = 0}), pngBytes({.compressionLevel = 9})};
}

Pictures Pictures::jpeg() {
    return {"photo.jpg", jpegBytes({.pattern = noise, .quality = 95, .orientation = 6}),
            jpegBytes({.pattern = noise, .quality = 50})};
}

Pictures Pictures::gif() {
    GIFOptions original;
    const Bytes comment = gifExtension(0xFE, {std::string(255, 'c')});
    for (int i = 0; i < 20; ++i) {
        original.extensions.insert(original.extensions.end(), comment.begin(), comment.end());
    }
    return {"photo.gif", gifBytes(original), gifBytes({})};
}

Pictures Pictures::heic() {
    return {"photo.heic", heifBytes({}), {}};
}

CrashWorld::CrashWorld(const Pictures& pictures)
    : name_(pictures.name), original_(pictures.original.begin(), pictures.original.end()),
      output_(pictures.output.begin(), pictures.output.end()) {
    pictures_.file(name_, original_);
    const URL output = home_.file("output", output_);
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
