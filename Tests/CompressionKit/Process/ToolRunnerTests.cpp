#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Process/ToolRunner.h"
#include "Support/EnvironmentVariable.h"
#include "Support/FakeTools.h"
#include "Support/Unprivileged.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <thread>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::Lt;
using Clock = std::chrono::steady_clock;

constexpr double generous = 60;

/// Points $TMPDIR to a folder of the test's own, in which nothing may be left.
class ToolRunnerTest : public testing::Test {
protected:
    ToolRunnerTest() { ::setenv("TMPDIR", temporary_.url().c_str(), 1); }
    ~ToolRunnerTest() override {
        if (before_) {
            ::setenv("TMPDIR", before_->c_str(), 1);
        } else {
            ::unsetenv("TMPDIR");
        }
    }
    void TearDown() override { EXPECT_EQ(temporary_.listing(), ""); }

    std::string run(const std::vector<std::string>& arguments = {}, double timeout = generous) const {
        return ToolRunner(tools_.folder()).run("oxipng", arguments, timeout);
    }
    std::string failure(const FakeTools::Script& script, double timeout = generous) const {
        tools_.script("oxipng", script);
        try {
            return "no failure: " + run({}, timeout);
        } catch (const CompressionError& error) {
            return error.errorDescription();
        }
    }
    /// Whether a process of this number still lives. It was nobody's child, so it may stay a zombie for a
    /// moment.
    static bool isAlive(const std::string& process) {
        const auto deadline = Clock::now() + std::chrono::seconds(5);
        while (Clock::now() < deadline) {
            const URL status = URL::file("/proc/" + process + "/status");
            if (!itemExists(status) || contents(status).find("State:\tZ") != std::string::npos) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return true;
    }

    const std::optional<std::string> before_ =
        std::getenv("TMPDIR") != nullptr ? std::optional<std::string>(std::getenv("TMPDIR")) : std::nullopt;
    const FakeTools tools_;
    const TemporaryFolder folder_;
    const TemporaryFolder temporary_;
};

TEST_F(ToolRunnerTest, PassesExactArgumentsAndReturnsTheOutput) {
    const std::vector<std::string> arguments = {
        "-leading", "--", "", "two words", "quote\"'", "line\nbreak", "$HOME;*`x`", "\xFF\xFE", "%41 日本"};
    tools_.script("oxipng", {{"print", "first\n"}, {"error", "not this"}, {"print", "second\n"}});
    EXPECT_EQ(run(arguments), "first\nsecond\n");
    EXPECT_THAT(tools_.runs("oxipng"), ElementsAre(arguments));
}

TEST_F(ToolRunnerTest, RefusesWhatIsMissingOrNotExecutable) {
    tools_.script("oxipng", {});
    const ToolRunner runner(tools_.folder());
    EXPECT_TRUE(runner.has("oxipng"));
    EXPECT_FALSE(runner.has("absent"));
    tools_.remove("oxipng");
    writeFile(tools_.folder().appending("oxipng"), {});
    ::chmod(tools_.folder().appending("oxipng").c_str(), 0644);
    EXPECT_FALSE(runner.has("oxipng"));
    EXPECT_EQ(failure({}), "缺少压缩组件：oxipng");
    EXPECT_THAT(tools_.runs(), ElementsAre());
}

TEST_F(ToolRunnerTest, TellsAProgramThatCannotBeLaunched) {
    tools_.remove("oxipng");
    const URL program = tools_.folder().appending("oxipng");
    writeFile(program, Bytes{'n', 'o', ' ', 'f', 'o', 'r', 'm', 'a', 't'});
    ::chmod(program.c_str(), 0755);
    try {
        run();
        FAIL() << "launched";
    } catch (const FileSystemError& error) {
        EXPECT_EQ(error.code(), ENOEXEC);
        EXPECT_THAT(error.what(), HasSubstr(program.path()));
    }
}

TEST_F(ToolRunnerTest, TellsTheStatusAndTheBeginningOfTheErrors) {
    EXPECT_EQ(failure({{"print", "out"}, {"error", "bad thing\n"}, {"status", "7"}}),
              "压缩组件运行失败：oxipng（退出码 7）：bad thing\n");
    std::string characters;
    for (int i = 0; i < 180; ++i) {
        characters += "图";
    }
    EXPECT_EQ(failure({{"error", characters + "片"}, {"status", "255"}}),
              "压缩组件运行失败：oxipng（退出码 255）：" + characters);
    EXPECT_EQ(failure({{"error", "a\xFF\xC3(b"}, {"status", "1"}}),
              "压缩组件运行失败：oxipng（退出码 1）：a\uFFFD\uFFFD(b");
    for (const int number : {SIGKILL, SIGTERM, SIGUSR1}) {
        EXPECT_EQ(failure({{"die", std::to_string(number)}}),
                  "压缩组件运行失败：oxipng（退出码 " + std::to_string(number) + "）：");
    }
}

TEST_F(ToolRunnerTest, CutsFloodsWithoutBlocking) {
    const std::string flood = std::to_string(4 << 20);
    tools_.script("oxipng", {{"flood", "stdout", flood, "o"}, {"flood", "stderr", flood, "e"}});
    EXPECT_EQ(run(), std::string(1'048'576, 'o'));
    // 8,191 ASCII bytes and then a character that the limit cuts in two, which must not become a 180th.
    EXPECT_EQ(failure({{"flood", "stderr", "8191", "\n"}, {"error", "é"}, {"status", "3"}}),
              "压缩组件运行失败：oxipng（退出码 3）：" + std::string(180, '\n'));
}

TEST_F(ToolRunnerTest, ReplacesIllFormedOutput) {
    tools_.script("oxipng", {{"print", "\xC0\xAF ok \xED\xA0\x80 \xE5\x9B"}});
    const std::string output = run();
    EXPECT_TRUE(isUTF8(output));
    EXPECT_EQ(output, "\uFFFD\uFFFD ok \uFFFD\uFFFD\uFFFD \uFFFD");
}

TEST_F(ToolRunnerTest, EndsATimedOutToolPolitelyThenByForce) {
    const auto seconds = [&](const FakeTools::Script& script) {
        const auto start = Clock::now();
        EXPECT_EQ(failure(script, 0.3), "压缩组件运行失败：oxipng 超时");
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
    EXPECT_THAT(seconds({{"hang"}}), testing::AllOf(Gt(0.29), Lt(1.2)));
    EXPECT_THAT(seconds({{"ignore-term"}, {"hang"}}), testing::AllOf(Gt(1.29), Lt(10)));
}

TEST_F(ToolRunnerTest, KillsGrandchildrenHoweverTheToolEnds) {
    const URL file = folder_ / "pid";
    const FakeTools::Words spawn = {"spawn-child", file.path()};
    EXPECT_THAT(failure({spawn, {"hang"}}, 0.3), HasSubstr("超时"));
    EXPECT_FALSE(isAlive(contents(file)));
    EXPECT_THAT(failure({spawn, {"status", "4"}}), HasSubstr("退出码 4"));
    EXPECT_FALSE(isAlive(contents(file)));
    tools_.script("oxipng", {spawn});
    run();
    EXPECT_FALSE(isAlive(contents(file)));
}

TEST_F(ToolRunnerTest, HandsNothingOfOursDown) {
    const FileDescriptor input(::open(folder_.file("input", "for us alone").c_str(), O_RDONLY));
    const FileDescriptor savedInput(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100));
    ::dup2(input.get(), STDIN_FILENO);
    const auto handler = std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const FileDescriptor other = createNewFile(folder_ / "open", 0600);

    tools_.script("oxipng", {{"report-input"}, {"report-descriptors"}, {"report-signals"}});
    EXPECT_EQ(run(), "0 1 2 ");

    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    static_cast<void>(std::signal(SIGPIPE, handler));
    if (savedInput) {
        ::dup2(savedInput.get(), STDIN_FILENO);
    }
}

TEST_F(ToolRunnerTest, AToolKeepsHoldOfTheItemThatItWorksOn) {
    const EnvironmentVariable data("XDG_DATA_HOME", (folder_ / "data").path());
    FileDescriptor below(::dup(STDIN_FILENO));
    const WorkNote note(folder_.url(), WorkItem::directory);
    tools_.script("oxipng", {{"report-descriptors"}});
    EXPECT_EQ(ToolRunner(tools_.folder()).holding(note).run("oxipng", {}, 60), "0 1 2 3 ");
    // Now the logs' numbers are below the lock's, as those of what was opened before it may be.
    below.reset();
    const Cancellation cancellation;
    EXPECT_EQ(ToolRunner(tools_.folder()).holding(note).cancelledBy(cancellation).run("oxipng", {}, 60),
              "0 1 2 3 ");
}

TEST_F(ToolRunnerTest, CancellationEndsARunningToolAndLetsNoneStart) {
    const auto cancellation = Cancellation::make();
    const ToolRunner runner(tools_.folder(), cancellation);
    tools_.script("oxipng", {{"spawn-child", (folder_ / "pid").path()}, {"hang"}});
    std::thread canceller([&] {
        while (!itemExists(folder_ / "pid") || contents(folder_ / "pid").empty()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        cancellation.request();
    });
    const auto start = Clock::now();
    EXPECT_THROW(runner.run("oxipng", {}, generous), Cancelled);
    canceller.join();
    EXPECT_THAT(Clock::now() - start, Lt(std::chrono::seconds(10)));
    EXPECT_FALSE(isAlive(contents(folder_ / "pid")));

    EXPECT_THROW(runner.run("oxipng", {}, generous), Cancelled);
    EXPECT_EQ(tools_.runs("oxipng").size(), 1U);
    EXPECT_TRUE(cancellation.isRequested());
    EXPECT_FALSE(Cancellation().isRequested());
    Cancellation().request();
}

TEST_F(ToolRunnerTest, ToolsInheritTheEnvironmentAndWaitWithoutSpinning) {
    tools_.script("oxipng", {{"report-variable", "OMP_WAIT_POLICY"}, {"report-variable", "TMPDIR"}});
    EXPECT_EQ(run(), "passive\n" + temporary_.url().path() + "\n");
    ::setenv("OMP_WAIT_POLICY", "active", 1);
    EXPECT_EQ(run(), "active\n" + temporary_.url().path() + "\n") << "the user's own choice";
    ::unsetenv("OMP_WAIT_POLICY");
}

TEST_F(ToolRunnerTest, RunsSideBySide) {
    tools_.script("oxipng", {{"print", "one"}});
    tools_.script("pngquant", {{"print", "two"}});
    const ToolRunner runner(tools_.folder());
    std::vector<std::string> outputs(8);
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < outputs.size(); ++i) {
            threads.emplace_back([&runner, &outputs, i] {
                outputs[i] = runner.run(i % 2 == 0 ? "oxipng" : "pngquant", {}, generous);
            });
        }
    }
    EXPECT_THAT(outputs, ElementsAre("one", "two", "one", "two", "one", "two", "one", "two"));
}

TEST_F(ToolRunnerTest, TellsATemporaryFolderThatCannotBeWritten) {
    tools_.script("oxipng", {{"print", "ran"}});
    ::chmod(temporary_.url().c_str(), 0555);
    ::chmod(tools_.folder().c_str(), 0777);
    const std::string report = unprivileged([&] {
        try {
            return run();
        } catch (const FileSystemError& error) {
            return std::string(error.what());
        }
    });
    EXPECT_THAT(report, HasSubstr(temporary_.url().path()));
    EXPECT_THAT(tools_.runs(), ElementsAre());
}

} // namespace
} // namespace tarnwick::test
