#include "Scheduling/CompressionQueue.h"
#include "Scheduling/ExecutionPermit.h"
#include "Support/PNGMaker.h"
#include "TarnwickCommand/RunCommand.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

namespace tarnwick {
namespace {

using namespace std::chrono_literals;
using test::contents;

/// A run of `compress` on one picture, in the middle of a tool that would take minutes.
class Interruption : public testing::Test {
protected:
    void SetUp() override {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            ASSERT_NE(std::signal(signal, SIG_DFL), SIG_ERR);
        }
        createDirectories(tools);
        createDirectories(pictures);
        test::writePNG(picture, {.compressionLevel = 0});
        for (const char* name : {"pngquant", "oxipng", "ssimulacra2"}) {
            test::writeTool(tools, name,
                            R"(echo $$ > "$0.started"; mv "$0.started" "$0.pid"; exec sleep 100)");
        }
    }

    std::vector<std::string> command(const std::string& option) const {
        return {"compress",   option,    picture.path(),           "--tools",
                tools.path(), "--store", (folder / "store").path()};
    }

    /// The tool's process, once it runs.
    pid_t waitForTool() const {
        const URL file = tools.appending("pngquant.pid");
        for (int i = 0; i < 1'000 && !itemExists(file); ++i) {
            std::this_thread::sleep_for(10ms);
        }
        return std::stoi(contents(file));
    }

    void expectNothingLeft(pid_t tool, const std::string& before) const {
        EXPECT_EQ(::kill(tool, 0), -1) << "the tool outlived the command";
        EXPECT_EQ(errno, ESRCH);
        EXPECT_EQ(contents(picture), before);
        std::string names;
        for (const URL& entry : entries(pictures)) {
            names += entry.lastPathComponent() + " ";
        }
        EXPECT_EQ(names, "a.png ") << "a work folder is left";
        EXPECT_FALSE(itemExists(folder / "store"));
    }

    test::TemporaryFolder folder;
    URL tools = folder / "tools";
    URL pictures = folder / "pictures";
    URL picture = pictures.appending("a.png");
};

TEST_F(Interruption, ASignalStopsTheToolsCleansUpAndIsPassedOn) {
    const std::string before = contents(picture);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        removeFile(tools.appending("pngquant.pid"));
        const test::RunningCommand run(command("--tools=" + tools.path()));
        const pid_t tool = waitForTool();
        run.kill(signal);
        std::this_thread::sleep_for(10ms);
        run.kill(signal);
        const auto end = run.wait();
        EXPECT_EQ(end.status, 128 + signal) << "a second signal changes nothing";
        EXPECT_EQ(end.output, "已停止。\n");
        EXPECT_EQ(end.errors, "");
        expectNothingLeft(tool, before);
    }
}

TEST_F(Interruption, JSONStaysJSON) {
    const std::string before = contents(picture);
    const test::RunningCommand run(command("--json"));
    const pid_t tool = waitForTool();
    run.kill(SIGINT);
    const auto end = run.wait();
    EXPECT_EQ(end.status, 130);
    EXPECT_EQ(end.output, "");
    expectNothingLeft(tool, before);
}

TEST_F(Interruption, ASignalEndsTheWaitForAFileThatAnotherProcessWorksOn) {
    ::setenv("XDG_DATA_HOME", folder.url().c_str(), 1);
    {
        const ExecutionPermit permit(folder / "Tarnwick/CompressionLocks",
                                     CompressionQueue::fileIdentity(picture),
                                     CompressionQueue::maximumConcurrentTasks);
        const test::RunningCommand run(command("--json"));
        std::this_thread::sleep_for(300ms);
        EXPECT_FALSE(itemExists(tools.appending("pngquant.pid")))
            << "the file is not this process's to work on";
        run.kill(SIGINT);
        EXPECT_EQ(run.wait().status, 130);
    }
    const test::RunningCommand run(command("--json"));
    waitForTool();
    run.kill(SIGINT);
    EXPECT_EQ(run.wait().status, 130);
    ::unsetenv("XDG_DATA_HOME");
}

TEST_F(Interruption, ASignalIgnoredFromTheStartStaysIgnored) {
    ASSERT_NE(std::signal(SIGHUP, SIG_IGN), SIG_ERR);
    const test::RunningCommand run(command("--json"));
    ASSERT_NE(std::signal(SIGHUP, SIG_DFL), SIG_ERR);
    waitForTool();
    run.kill(SIGHUP);
    std::this_thread::sleep_for(100ms);
    run.kill(SIGTERM);
    EXPECT_EQ(run.wait().status, 128 + SIGTERM);
}

} // namespace
} // namespace tarnwick
