// Many files at once with fake tools, in one process and in several.

#include "Engine/CompressionEngine.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "Scheduling/CompressionQueue.h"
#include "Support/FakeTools.h"
#include "Support/Pictures.h"
#include "Support/RunCommand.h"
#include "Support/Waiting.h"

#include <asio/use_future.hpp>
#include <gmock/gmock.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <future>
#include <map>
#include <sstream>

// The C++ library counts the owners of an exception; the thread sanitizer does not see that.
extern "C" const char* __tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "race:std::__exception_ptr::exception_ptr::_M_release";
}

namespace tarnwick::test {
namespace {

using testing::AllOf;
using testing::Ge;
using testing::Le;
using testing::SizeIs;

TEST(Batch, OfTwoHundredFilesGivesTheRightResultForEach) {
    const TemporaryFolder folder;
    const FakeTools tools;
    for (const auto& [tool, output] : {std::pair("pngquant", "photo-small.png"),
                                       {"oxipng", "photo-small.png"},
                                       {"cjpegli", "noise-small.jpg"},
                                       {"gifsicle", "animation-3-small.gif"}}) {
        tools.script(tool, {{"output", picture(output).path()}});
    }
    tools.scores({"90"});
    const UndoStore store(folder / "Undo");
    const CompressionEngine engine(tools.folder(), store, 60, 70, 70);
    CompressionQueue queue(CompressionQueue::maximumConcurrentTasks, folder / "Locks");
    const UUID session = UUID::random();
    // The last is no HEIC file.
    const std::array<std::string, 4> fixtures = {"photo.png", "noise.jpg", "animation-3.gif", "avif.heic"};
    std::vector<std::pair<URL, std::future<std::optional<CompressionResult>>>> jobs;
    for (std::size_t i = 0; i < 200; ++i) {
        const std::string& fixture = fixtures.at(i % fixtures.size());
        const URL url = copyPicture(fixture, folder / (std::to_string(i) + "-" + fixture));
        jobs.emplace_back(url, queue.run(
                                   url, [&, url] { return std::optional(engine.compress(url, session)); },
                                   asio::use_future));
    }
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        auto& [url, job] = jobs[i];
        const std::string original = pictureText(fixtures.at(i % fixtures.size()));
        if (i % fixtures.size() < 3) {
            const auto result = job.get();
            EXPECT_EQ(result->outcome, CompressionOutcome::replaced) << url.path();
            EXPECT_EQ(hash(url), result->undoRecord->replacementHash) << url.path();
            EXPECT_EQ(contents(store.backupURL(*result->undoRecord)), original) << url.path();
        } else {
            EXPECT_THROW(job.get(), CompressionError);
            EXPECT_EQ(contents(url), original);
        }
    }
    EXPECT_THAT(store.readRecords(), SizeIs(150));
    EXPECT_THAT(folder.listing(), testing::Not(testing::HasSubstr(".tarnwick-")));
}

/// Processes of `tarnwick` that share locks, a store and tools that log their runs.
class ProcessesTest : public testing::Test {
protected:
    ProcessesTest() {
        const auto traced = [&](const Words& command) {
            return FakeTools::Script{
                {"trace", trace_.path(), "begin"}, {"pause", "10"}, command, {"trace", trace_.path(), "end"}};
        };
        tools_.script("pngquant", traced({"status", "99"}));
        tools_.script("oxipng", traced({"output", picture("photo-small.png").path()}));
        ::setenv("XDG_DATA_HOME", (folder_ / "data").c_str(), 1);
        createDirectories(pictures_);
        std::filesystem::create_directory_symlink(pictures_.path(), (folder_ / "link").path());
        for (int i = 0; i < 70; ++i) {
            files_.push_back(copyPicture("photo.png", pictures_.appending(std::to_string(100 + i) + ".png")));
        }
    }
    ~ProcessesTest() override { ::unsetenv("XDG_DATA_HOME"); }

    /// The first process gets the files 0 to 39, the second 30 to 69, the shared ones by other paths.
    std::vector<std::string> pathsOf(int process) const {
        std::vector<std::string> paths;
        for (std::size_t i = 0; i < 40; ++i) {
            const URL& file = files_[process == 0 ? i : 30 + i];
            const std::string name = file.lastPathComponent();
            const bool isShared = process == 1 && i < 10;
            paths.push_back(!isShared    ? file.path()
                            : i % 2 == 0 ? (folder_ / "link").path() + "/" + name
                                         : pictures_.path() + "/../link/../pictures/./" + name);
        }
        return paths;
    }

    RunningCommand start(int process) const {
        // With an explicit store they start no helper, which would outlive the test.
        Words words = pathsOf(process);
        words.insert(words.begin(), {"compress", "--json", "--tools", tools_.folder().path(), "--store",
                                     UndoStore().root().path()});
        return RunningCommand(words);
    }

    static std::map<std::string, int> outcomesOf(const CommandResult& result) {
        std::map<std::string, int> counts;
        for (const auto& line : result.json()) {
            ++counts[line["outcome"]];
        }
        return counts;
    }

    /// The number of work folders: each job has one while its tools run.
    std::size_t jobs() const {
        const auto items = entries(pictures_);
        return static_cast<std::size_t>(std::count_if(items.begin(), items.end(), [](const URL& item) {
            return item.lastPathComponent().starts_with(".tarnwick-") && isDirectory(item);
        }));
    }

    /// Waits for the process and records the largest number of jobs.
    CommandResult wait(const RunningCommand& process) {
        EXPECT_TRUE(waitUntil([&] {
            mostJobs_ = std::max(mostJobs_, jobs());
            siginfo_t info{};
            return ::waitid(P_PID, static_cast<id_t>(process.pid()), &info, WEXITED | WNOHANG | WNOWAIT) ==
                       0 &&
                   info.si_pid != 0;
        }));
        return process.wait();
    }

    /// No process may run a tool on a file between another process's first and last tool on it. Returns the
    /// number of files.
    std::size_t filesUsedByOneProcessAtATime() const {
        std::map<std::string, std::map<std::string, std::pair<std::size_t, std::size_t>>> files;
        std::istringstream lines(contents(trace_));
        std::size_t at = 0;
        for (std::string event, process, file; lines >> event >> process >> file; ++at) {
            files[file].try_emplace(process, at, at).first->second.second = at;
        }
        for (const auto& [file, spans] : files) {
            const auto& [firstBegin, firstEnd] = spans.begin()->second;
            const auto& [lastBegin, lastEnd] = spans.rbegin()->second;
            EXPECT_TRUE(spans.size() == 1 || firstEnd < lastBegin || lastEnd < firstBegin) << file;
        }
        return files.size();
    }

    const TemporaryFolder folder_;
    const FakeTools tools_;
    const URL trace_ = folder_ / "trace";
    const URL pictures_ = folder_ / "pictures";
    std::vector<URL> files_;
    std::size_t mostJobs_ = 0;
};

TEST_F(ProcessesTest, ShareTheMachineButNeverAFile) {
    const RunningCommand first = start(0);
    const RunningCommand second = start(1);
    const CommandResult firstResult = wait(first);
    const CommandResult secondResult = wait(second);
    EXPECT_EQ(firstResult.status, 0);
    EXPECT_EQ(secondResult.status, 0);
    EXPECT_THAT(mostJobs_, AllOf(Ge(4U), Le(10U)));
    EXPECT_EQ(filesUsedByOneProcessAtATime(), 70U);
    for (const URL& file : files_) {
        EXPECT_EQ(contents(file), pictureText("photo-small.png")) << file.path();
    }
    auto counts = outcomesOf(firstResult);
    for (const auto& [outcome, count] : outcomesOf(secondResult)) {
        counts[outcome] += count;
    }
    EXPECT_EQ(counts["replaced"], 70);
    EXPECT_EQ(counts["skipped"], 10) << "the other process had compressed them";
    EXPECT_THAT(UndoStore().readRecords(), SizeIs(70));
}

} // namespace
} // namespace tarnwick::test
