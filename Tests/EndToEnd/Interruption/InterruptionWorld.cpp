#include "InterruptionWorld.h"

#include "Foundation/Text.h"
#include "Support/Pictures.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
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

constexpr auto propertyList = "<plist><dict><key>CFBundleIdentifier</key><string>app.menus</string>"
                              "<key>CFBundleShortVersionString</key><string>1</string></dict></plist>";

/// Kills a compression right after the first call that gives a file a name with this end.
std::function<void(const InterruptionWorld&)> killBefore(const std::string& end) {
    return [end](const InterruptionWorld& world) {
        static const Trace trace = InterruptionWorld("photo.png", "photo-small.png").run("compress").trace;
        const auto call = std::find_if(trace.begin(), trace.end(), [&](const TracedCall& candidate) {
            return candidate.destination.ends_with(end);
        });
        const int number = static_cast<int>(call - trace.begin()) + 1;
        ASSERT_TRUE(world.run("compress", {number, "kill-after"}).isKilled);
    };
}

void enableBefore(const InterruptionWorld& world) {
    ASSERT_EQ(world.run("enable").error, "");
}

} // namespace

InterruptionWorld::InterruptionWorld(std::string original, const std::string& output)
    : name_(std::move(original)) {
    createDirectories(pictures_);
    copyPicture(name_, file());
    createDirectories(home_ / "tmp");
    createDirectories(menuFile().deletingLastPathComponent());
    writeFile(menuFile(), bytesOf("<actions>\n</actions>\n"));
    createDirectories(home_ / "data/app/Linux");
    createDirectories(home_ / "data/app/PlugIns/menus.appex/Contents");
    writeFile(home_ / "data/app/PlugIns/menus.appex/Contents/Info.plist", bytesOf(propertyList));
    for (const char* program : {"Tarnwick", "thunar"}) {
        std::filesystem::create_symlink("/bin/true",
                                        (home_ / ("data/app/Linux/" + std::string(program))).path());
    }
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
        ::setenv("PATH", (home_ / "data/app/Linux").c_str(), 1);
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

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.title;
}

std::vector<Operation> operations() {
    const std::string large = "photo.png";
    const std::string small = "photo-small.png";
    return {{"CompressAPNG", "compress", large, small},
            {"CompressAJPEG", "compress", "noise-turned.jpg", "noise-small.jpg"},
            {"CompressAGIF", "compress", "animation-2.gif", "animation-2-small.gif"},
            {"ConvertAHEIC", "compress", "photo.heic", ""},
            {"Restore", "restore", large, small, compressBefore},
            {"RestoreAConversion", "restore", "photo.heic", "", compressBefore},
            {"Delete", "delete", large, small, compressBefore},
            {"Clear", "clear", large, small, compressBefore},
            {"Maintain", "maintain", large, small, compressBefore},
            {"SweepARecord", "maintain", large, small, killBefore(".json")},
            {"SweepAnExchange", "maintain", large, small, killBefore("/photo.png")},
            {"RegisterTheMenus", "register", large, small, enableBefore},
            {"EnableAMenu", "enable", large, small},
            {"DisableAMenu", "disable", large, small, enableBefore}};
}

void compressBefore(const InterruptionWorld& world) {
    ASSERT_EQ(world.run("compress").error, "");
}

std::string textOf(const URL& file) {
    return isRegularFile(file) ? contents(file) : "";
}

void expectNothingBeside(const URL& folder, const std::string& stem) {
    for (const URL& item : itemExists(folder) ? entries(folder) : std::vector<URL>()) {
        EXPECT_THAT(item.lastPathComponent(), testing::StartsWith(stem));
    }
}

void expectMenusAreWhole(const InterruptionWorld& world, bool isTidy) {
    if (isTidy) {
        expectNothingBeside(world.menuFile().deletingLastPathComponent(), "uca.xml");
    }
    const std::string menu = textOf(world.menuFile());
    EXPECT_TRUE(menu.starts_with("<actions>\n") && menu.ends_with("</actions>\n")) << menu;
    EXPECT_EQ(world.run("register").error, "");
}

} // namespace tarnwick::test
