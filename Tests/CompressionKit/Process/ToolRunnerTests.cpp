#include "Foundation/Text.h"
#include "Process/ChildProcess.h"
#include "Process/ToolRunner.h"
#include "Support/EnvironmentVariable.h"
#include "Support/Failure.h"
#include "Support/FakeTools.h"
#include "Support/Unprivileged.h"
#include "Support/Waiting.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <thread>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr double generous = 60;

/// Points $TMPDIR to a folder of its own, in which the runs must leave nothing.
class ToolRunnerTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(temporary_.listing(), ""); }

    std::string run(const std::vector<std::string>& arguments = {}, double timeout = generous) const {
        return ToolRunner(tools_.folder()).run("oxipng", arguments, timeout);
    }
    std::string failure(const FakeTools::Script& script, double timeout = generous) const {
        tools_.script("oxipng", script);
        return failureOf([&] { run({}, timeout); });
    }
    /// A killed grandchild stays a zombie until init reaps it.
    bool grandchildEnds() const {
        const URL status = URL::file("/proc/" + contents(pid_) + "/status");
        return waitUntil(
            [&] { return !itemExists(status) || contents(status).find("State:\tZ") != std::string::npos; });
    }

    const FakeTools tools_;
    const TemporaryFolder folder_;
    const URL pid_ = folder_ / "pid";
    const TemporaryFolder temporary_;
    const EnvironmentVariable variable_{"TMPDIR", temporary_.url().path()};
};

TEST_F(ToolRunnerTest, PassesExactArgumentsAndReturnsTheOutput) {
    const std::vector<std::string> arguments = {
        "-leading", "--", "", "two words", "quote\"'", "line\nbreak", "$HOME;*`x`", "\xFF\xFE", "%41 日本"};
    tools_.script("oxipng", {{"print", "first\n"}, {"error", "not this"}, {"print", "\xC0\xAF 二 \xE5\x9B"}});
    EXPECT_EQ(run(arguments), "first\n\uFFFD\uFFFD 二 \uFFFD");
    EXPECT_THAT(tools_.runs("oxipng"), ElementsAre(arguments));
}

TEST_F(ToolRunnerTest, RefusesAMissingToolAndReportsOneThatCannotBeLaunched) {
    const URL program = tools_.folder().appending("oxipng");
    const ToolRunner runner(tools_.folder());
    EXPECT_TRUE(runner.has("oxipng"));
    EXPECT_FALSE(runner.has("absent"));
    tools_.remove("oxipng");
    writeFile(program, bytesOf("no format"));
    ::chmod(program.c_str(), 0644);
    EXPECT_FALSE(runner.has("oxipng"));
    EXPECT_EQ(failure({}), "缺少压缩组件：oxipng");
    ::chmod(program.c_str(), 0755);
    EXPECT_EQ(failure({}), "无法启动压缩组件“" + program.path() + "”：Exec format error");
    EXPECT_THAT(tools_.runs(), ElementsAre());
}

TEST_F(ToolRunnerTest, ReportsTheStatusAndTheBeginningOfTheErrors) {
    const FakeTools::Words flood = {"flood", "stderr", "178", "e"};
    struct Case {
        FakeTools::Script script;
        std::string report;
    };
    for (const auto& [script, report] : std::vector<Case>{
             {{{"print", "out"}, {"error", "bad\nthing\r\n\n"}, {"status", "7"}}, "7）：bad\nthing"},
             {{{"error", "\n"}, {"status", "1"}}, "1）："},
             {{flood, {"error", "图片外"}, {"status", "255"}}, "255）：" + std::string(178, 'e') + "图片"},
             {{{"error", "a\xFF\xC3(b"}, {"status", "1"}}, "1）：a\uFFFD\uFFFD(b"},
             {{{"die", std::to_string(SIGKILL)}}, "9）："},
             {{{"die", std::to_string(SIGTERM)}}, "15）："}}) {
        EXPECT_EQ(failure(script), "压缩组件运行失败：oxipng（退出码 " + report);
    }
}

TEST_F(ToolRunnerTest, CutsFloodsWithoutBlocking) {
    const std::string flood = std::to_string(4 << 20);
    tools_.script("oxipng", {{"flood", "stdout", flood, "o"}, {"flood", "stderr", flood, "e"}});
    EXPECT_EQ(run(), std::string(1'048'576, 'o'));
}

TEST_F(ToolRunnerTest, EndsAToolThatIgnoresTheTimeoutByForce) {
    EXPECT_EQ(failure({{"ignore-term"}, {"hang"}}, 0.3), "压缩组件运行失败：oxipng 超时");

    const URL ready = folder_ / "ready";
    const auto signalThatStops = [&](const FakeTools::Script& script, double grace) {
        tools_.script("oxipng", script);
        const FileDescriptor nowhere(::open("/dev/null", O_RDWR | O_CLOEXEC));
        ChildProcess child(tools_.folder().appending("oxipng"), {}, nowhere, nowhere);
        EXPECT_TRUE(waitUntil([&] { return itemExists(ready); }));
        removeFile(ready);
        EXPECT_EQ(child.wait(std::chrono::duration<double>(0)), ChildProcess::Wake::timedOut);
        child.stop(std::chrono::duration<double>(grace));
        return child.reap();
    };
    const FakeTools::Words report = {"append", ready.path(), "x"};
    EXPECT_EQ(signalThatStops({report, {"hang"}}, generous), SIGTERM);
    EXPECT_EQ(signalThatStops({{"ignore-term"}, report, {"hang"}}, 0.05), SIGKILL);
}

TEST_F(ToolRunnerTest, KillsGrandchildrenWhenTheToolEnds) {
    const FakeTools::Words spawn = {"spawn-child", pid_.path()};
    EXPECT_THAT(failure({spawn, {"status", "4"}}), HasSubstr("退出码 4"));
    EXPECT_TRUE(grandchildEnds());
    tools_.script("oxipng", {spawn});
    run();
    EXPECT_TRUE(grandchildEnds());
}

TEST_F(ToolRunnerTest, CancellationEndsARunningToolInOrderAndPreventsOthers) {
    const auto cancellation = Cancellation::make();
    const ToolRunner runner(tools_.folder(), cancellation);
    const URL end = folder_ / "end";
    tools_.script("oxipng", {{"ignore-term"}, {"spawn-child", pid_.path()}, {"await-term", end.path()}});
    std::jthread canceller([&] {
        EXPECT_TRUE(waitUntil([&] { return itemExists(pid_) && !contents(pid_).empty(); }));
        cancellation.request();
    });
    EXPECT_THROW(runner.run("oxipng", {}, generous), Cancelled);
    EXPECT_TRUE(itemExists(end)) << "the tool had no time to end";
    EXPECT_TRUE(grandchildEnds());

    EXPECT_THROW(runner.run("oxipng", {}, generous), Cancelled);
    EXPECT_EQ(tools_.runs("oxipng").size(), 1U);
}

TEST_F(ToolRunnerTest, PassesOnNoInputDescriptorOrSignalMask) {
    const FileDescriptor input = openForReading(folder_.file("input", "private"));
    const FileDescriptor savedInput(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100));
    ::dup2(input.get(), STDIN_FILENO);
    const auto handler = std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const FileDescriptor inheritable(::dup(input.get()));

    tools_.script("oxipng", {{"report-input"}, {"report-descriptors"}, {"report-signals"}});
    EXPECT_EQ(run(), "0 1 2 ");

    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    static_cast<void>(std::signal(SIGPIPE, handler));
    if (savedInput) {
        ::dup2(savedInput.get(), STDIN_FILENO);
    }
}

TEST_F(ToolRunnerTest, AToolHoldsTheNoteOfItsItem) {
    const EnvironmentVariable data("XDG_DATA_HOME", (folder_ / "data").path());
    FileDescriptor below(::dup(STDIN_FILENO));
    const WorkNote note(folder_.url(), WorkItem::directory);
    tools_.script("oxipng", {{"report-descriptors"}});
    EXPECT_EQ(ToolRunner(tools_.folder()).holding(note).run("oxipng", {}, generous), "0 1 2 3 ");
    // Now the numbers of the logs are lower than that of the lock.
    below.reset();
    const ToolRunner runner = ToolRunner(tools_.folder()).holding(note).cancelledBy(Cancellation::never());
    EXPECT_EQ(runner.run("oxipng", {}, generous), "0 1 2 3 ");
}

TEST_F(ToolRunnerTest, ToolsInheritTheEnvironmentUnchanged) {
    const EnvironmentVariable unset("OMP_WAIT_POLICY", std::nullopt);
    tools_.script("oxipng", {{"report-variable", "OMP_WAIT_POLICY"}, {"report-variable", "TMPDIR"}});
    EXPECT_EQ(run(), "unset\n" + temporary_.url().path() + "\n");
}

TEST_F(ToolRunnerTest, ReportsATemporaryFolderThatCannotBeWritten) {
    tools_.makeReachable("oxipng");
    tools_.script("oxipng", {{"print", "ran"}});
    ::chmod(temporary_.url().c_str(), 0555);
    EXPECT_THAT(unprivileged([&] { return run(); }), HasSubstr(temporary_.url().path()));
    EXPECT_THAT(tools_.runs(), ElementsAre());
}

} // namespace
} // namespace tarnwick::test
