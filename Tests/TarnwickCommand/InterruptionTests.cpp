#include "Scheduling/CompressionQueue.h"
#include "Scheduling/ExecutionPermit.h"
#include "Support/EnvironmentVariable.h"
#include "Support/FakeTools.h"
#include "Support/Pictures.h"
#include "Support/RunCommand.h"
#include "Support/Waiting.h"

#include <gmock/gmock.h>

#include <csignal>

namespace tarnwick::test {
namespace {

/// `compress` on one picture, with tools that hang.
class InterruptionTest : public testing::Test {
protected:
    void SetUp() override {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            ASSERT_NE(std::signal(signal, SIG_DFL), SIG_ERR);
        }
        hang({});
    }

    void hang(const FakeTools::Script& before) const {
        FakeTools::Script script = before;
        script.insert(script.end(), {{"log-pid", started.path()}, {"hang"}});
        tools.script("pngquant", script);
    }
    Words command() const {
        return {"compress", photo.path(), "--tools=" + tools.folder().path(), "--store=" + store.path()};
    }
    void awaitTool() const {
        EXPECT_TRUE(waitUntil([&] { return itemExists(started) && contents(started).ends_with("\n"); }));
    }
    void expectStopped(const RunningCommand& run, int signal) const {
        const pid_t tool = std::stoi(contents(started));
        const auto result = run.wait();
        EXPECT_EQ(result.status, 128 + signal);
        EXPECT_EQ(result.output, "已停止。\n");
        EXPECT_EQ(result.errors, "");
        EXPECT_EQ(::kill(tool, 0), -1) << "the tool outlived the command";
        EXPECT_EQ(contents(photo), pictureText("photo.png"));
        EXPECT_EQ(pictures.listing(), "a.png") << "a work folder is left";
        EXPECT_FALSE(itemExists(store));
        removeFile(started);
    }

    FakeTools tools;
    TemporaryFolder home;
    TemporaryFolder pictures;
    const URL started = home / "started";
    const URL store = home / "store";
    const URL photo = copyPicture("photo.png", pictures / "a.png");
    const EnvironmentVariable data{"XDG_DATA_HOME", home.url().path()};
};

TEST_F(InterruptionTest, ASignalStopsTheToolsRemovesWorkAndIsPassedOn) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const RunningCommand run(command());
        awaitTool();
        run.kill(signal);
        expectStopped(run, signal);
    }
}

TEST_F(InterruptionTest, ASecondSignalChangesNothing) {
    const URL stopped = home / "stopped";
    hang({{"ignore-term"}, {"log-pid", started.path()}, {"await-term", stopped.path()}});
    const RunningCommand run(command());
    awaitTool();
    run.kill(SIGINT);
    EXPECT_TRUE(waitUntil([&] { return itemExists(stopped); }));
    run.kill(SIGTERM);
    expectStopped(run, SIGINT);
}

TEST_F(InterruptionTest, ASignalEndsTheWaitForAFileThatAnotherProcessHolds) {
    const ExecutionPermit permit(home / "Tarnwick/CompressionLocks", CompressionQueue::fileIdentity(photo),
                                 CompressionQueue::maximumConcurrentTasks);
    const RunningCommand run(command());
    const testing::Matcher<std::string> waits =
        testing::ContainsRegex("-> FLOCK +ADVISORY +WRITE +" + std::to_string(run.pid()) + " ");
    EXPECT_TRUE(waitUntil([&] { return waits.Matches(contents(URL::file("/proc/locks"))); }));
    EXPECT_FALSE(itemExists(started));
    run.kill(SIGINT);
    EXPECT_EQ(run.wait().status, 128 + SIGINT);
}

TEST_F(InterruptionTest, ASignalThatIsIgnoredAtTheStartStaysIgnored) {
    ASSERT_NE(std::signal(SIGHUP, SIG_IGN), SIG_ERR);
    const RunningCommand run(command());
    ASSERT_NE(std::signal(SIGHUP, SIG_DFL), SIG_ERR);
    awaitTool();
    run.kill(SIGHUP);
    run.kill(SIGTERM);
    expectStopped(run, SIGTERM);
}

} // namespace
} // namespace tarnwick::test
