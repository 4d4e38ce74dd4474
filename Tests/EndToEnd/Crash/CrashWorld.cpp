#include "CrashWorld.h"

#include "Support/Pictures.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace tarnwick::test {
namespace {

/// Waits for all children, and returns the status of one of them.
int waitForAll(pid_t child) {
    int result = -1;
    int status = 0;
    for (pid_t ended = 0; (ended = ::waitpid(-1, &status, 0)) > 0;) {
        result = ended == child ? status : result;
    }
    return result;
}

} // namespace

CrashWorld::CrashWorld(std::string original, const std::string& output) : name_(std::move(original)) {
    copyPicture(name_, file());
    createDirectories(home_ / "tmp");
    for (const char* tool : {"pngquant", "oxipng", "cjpegli", "gifsicle"}) {
        tools_.script(tool, {{"output", picture(output).path()}});
    }
    tools_.script("ssimulacra2", {{"print", "90.0"}});
}

Outcome CrashWorld::run(const std::string& operation, int number, bool isBefore) {
    const URL trace = home_ / "trace";
    removeFile(trace);
    // The tools that a killed driver leaves become children of this process.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t child = ::fork();
    if (child == 0) {
        ::setenv("TMPDIR", (home_ / "tmp").c_str(), 1);
        ::setenv("XDG_DATA_HOME", (home_ / "data").c_str(), 1);
        ::execl(TARNWICK_CRASH_DRIVER, TARNWICK_CRASH_DRIVER, trace.c_str(), std::to_string(number).c_str(),
                isBefore ? "before" : "after", operation.c_str(), file().c_str(), store().root().c_str(),
                tools_.folder().c_str(), nullptr);
        ::_exit(127);
    }
    const int status = waitForAll(child);
    const bool isKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    if (!isKilled && status != 0) {
        throw std::runtime_error("the crash driver failed");
    }
    return {isKilled, readTrace(trace)};
}

} // namespace tarnwick::test
