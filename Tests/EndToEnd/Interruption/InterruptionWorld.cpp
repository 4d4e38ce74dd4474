#include "InterruptionWorld.h"

#include "Foundation/Text.h"
#include "Support/Pictures.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
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

InterruptionWorld::InterruptionWorld(std::string original, const std::string& output)
    : name_(std::move(original)) {
    createDirectories(pictures_);
    copyPicture(name_, file());
    createDirectories(home_ / "tmp");
    createDirectories(menuFile().deletingLastPathComponent());
    writeFile(menuFile(), bytesOf("<actions>\n</actions>\n"));
    for (const char* tool : {"pngquant", "oxipng", "cjpegli", "gifsicle"}) {
        tools_.script(tool, {{"output", picture(output).path()}});
    }
    tools_.script("ssimulacra2", {{"print", "90.0"}});
}

pid_t InterruptionWorld::start(const std::string& operation, const Interruption& interruption,
                               const std::string& name) const {
    const pid_t child = ::fork();
    if (child == 0) {
        ::setenv("TMPDIR", (home_ / "tmp").c_str(), 1);
        ::setenv("XDG_DATA_HOME", (home_ / "data").c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", (home_ / "config").c_str(), 1);
        const int errors = ::open((home_ / (name + ".errors")).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        ::dup2(errors, STDERR_FILENO);
        ::execl(TARNWICK_INTERRUPTION_DRIVER, TARNWICK_INTERRUPTION_DRIVER, (home_ / name).c_str(),
                std::to_string(interruption.number).c_str(), interruption.how.c_str(), operation.c_str(),
                file().c_str(), store().root().c_str(), tools_.folder().c_str(), nullptr);
        ::_exit(127);
    }
    return child;
}

Outcome InterruptionWorld::outcome(const std::string& name, int status) const {
    const bool isKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    const std::string error = contents(home_ / (name + ".errors"));
    if (!isKilled && (!WIFEXITED(status) || (status != 0) == error.empty())) {
        throw std::runtime_error("the driver ended with status " + std::to_string(status) + ": " + error);
    }
    return {isKilled, error, readTrace(home_ / name)};
}

Outcome InterruptionWorld::run(const std::string& operation, const Interruption& interruption) const {
    removeFile(home_ / "run");
    // The tools that a killed driver leaves become children of this process.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    return outcome("run", waitForAll(start(operation, interruption, "run")));
}

} // namespace tarnwick::test
