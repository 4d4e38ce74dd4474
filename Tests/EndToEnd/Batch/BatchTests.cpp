// Many files at once, with the fake tools: inside one process, and by several that share the machine.

#include "Engine/CompressionEngine.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "Scheduling/CompressionQueue.h"
#include "Support/EscapedWords.h"
#include "Support/FakeTools.h"
#include "Support/GIFMaker.h"
#include "Support/JPEGMaker.h"
#include "Support/PNGMaker.h"

#include <asio/use_future.hpp>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <future>
#include <map>
#include <set>
#include <sstream>
#include <thread>

// The counter of an exception's owners lives in the C++ library, where the thread sanitizer doesn't see it.
extern "C" const char* __tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "race:std::__exception_ptr::exception_ptr::_M_release";
}

namespace tarnwick::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::Each;
using testing::Ge;
using testing::Le;
using testing::SizeIs;

const Bytes bigPNG = pngBytes({.compressionLevel = 0});
const Bytes smallPNG = pngBytes({.compressionLevel = 9});
const Bytes bigJPEG = jpegBytes({.pattern = noise, .quality = 95});
const Bytes smallJPEG = jpegBytes({.pattern = noise, .quality = 50});

Bytes gif(std::size_t comment) {
    GIFOptions options = gifAnimation(3, 16, 12);
    options.comment = std::string(comment, 'c');
    return gifBytes(options);
}

std::string textOf(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

TEST(Batch, OfTwoHundredFilesEndsRightForEach) {
    const TemporaryFolder folder;
    const FakeTools tools;
    const auto makes = [&](const char* tool, const Bytes& bytes) {
        const URL file = folder.file(std::string("made-by-") + tool, textOf(bytes));
        tools.script(tool, {{"output", file.path()}});
    };
    makes("pngquant", smallPNG);
    makes("oxipng", smallPNG);
    makes("cjpegli", smallJPEG);
    makes("gifsicle", gif(0));
    tools.scores({"90"});

    const UndoStore store(folder / "Undo");
    const CompressionEngine engine(tools.folder(), store, 60, 70, 70);
    CompressionQueue queue(CompressionQueue::maximumConcurrentTasks, folder / "Locks");
    const UUID session = UUID::random();
    std::vector<std::pair<URL, Bytes>> files;
    for (int i = 0; i < 200; ++i) {
        const std::array<std::pair<const char*, Bytes>, 4> kinds = {
            {{"png", bigPNG}, {"jpg", bigJPEG}, {"gif", gif(200)}, {"png", {'n', 'o', 'n', 'e'}}}};
        const auto& [extension, bytes] = kinds.at(static_cast<std::size_t>(i) % kinds.size());
        files.emplace_back(folder.file(std::to_string(i) + "." + extension, textOf(bytes)), bytes);
    }
    std::vector<std::future<std::optional<CompressionResult>>> results;
    for (const auto& [url, bytes] : files) {
        results.push_back(queue.run(
            url, [&engine, &session, url] { return std::optional(engine.compress(url, session)); },
            asio::use_future));
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        const auto& [url, bytes] = files[i];
        if (bytes.size() > 4) {
            const auto result = results[i].get();
            EXPECT_EQ(result->outcome, CompressionOutcome::replaced) << url.path();
            EXPECT_EQ(hash(url), result->undoRecord->replacementHash) << url.path();
            EXPECT_EQ(contents(store.backupURL(*result->undoRecord)), textOf(bytes)) << url.path();
        } else {
            EXPECT_THROW(results[i].get(), CompressionError);
            EXPECT_EQ(contents(url), textOf(bytes));
        }
    }
    EXPECT_THAT(store.readRecords(), SizeIs(150));
    EXPECT_THAT(folder.listing(), testing::Not(testing::HasSubstr(".tarnwick-")));
}

/// Processes of `tarnwick` that share a lock directory, a store and tools that tell when they run on what.
class Processes : public testing::Test {
protected:
    Processes() {
        const URL made = folder_.file("made", textOf(smallPNG));
        const auto traced = [&](FakeTools::Script script) {
            script.insert(script.begin(), {{"trace", trace_.path(), "begin"}, {"pause", "10"}});
            script.push_back({"trace", trace_.path(), "end"});
            return script;
        };
        tools_.script("pngquant", traced({{"status", "99"}}));
        tools_.script("oxipng", traced({{"output", made.path()}}));
        ::setenv("XDG_DATA_HOME", (folder_ / "data").c_str(), 1);
        createDirectories(pictures_);
        std::filesystem::create_directory_symlink(pictures_.path(), (folder_ / "link").path());
        for (int i = 0; i < 70; ++i) {
            files_.push_back(folder_.file("pictures/" + std::to_string(100 + i) + ".png", textOf(bigPNG)));
        }
    }
    ~Processes() override { ::unsetenv("XDG_DATA_HOME"); }

    /// The first process has the files 0 to 39, the second 30 to 69, the shared ones by another way.
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

    pid_t start(int process) const {
        // With a store that is named, they start no helper, which would outlive the test.
        const URL store = folder_ / "data/Tarnwick/Undo";
        std::vector<std::string> words = {TARNWICK_EXECUTABLE,    "compress", "--json",    "--tools",
                                          tools_.folder().path(), "--store",  store.path()};
        const auto paths = pathsOf(process);
        words.insert(words.end(), paths.begin(), paths.end());
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputOf(process).c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        pid_t pid = -1;
        EXPECT_EQ(::posix_spawn(&pid, words[0].c_str(), &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        return pid;
    }
    URL outputOf(int process) const { return folder_ / ("output-" + std::to_string(process)); }

    std::map<std::string, int> outcomesOf(int process) const {
        std::map<std::string, int> counts;
        std::istringstream lines(contents(outputOf(process)));
        for (std::string line; std::getline(lines, line);) {
            ++counts[json::parse(line)["outcome"]];
        }
        return counts;
    }

    /// Work folders, of which each job has one while its tools run.
    std::size_t jobs() const {
        std::size_t count = 0;
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(pictures_.path(), none)) {
            count += entry.path().filename().native().starts_with(".tarnwick-") ? 1 : 0;
        }
        return count;
    }

    /// Waits for the process and returns how it ended; notes the most jobs seen at a time.
    int wait(pid_t process) {
        int status = -1;
        while (::waitpid(process, &status, WNOHANG) == 0) {
            mostJobs_ = std::max(mostJobs_, jobs());
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return status;
    }

    struct Event {
        bool isBegin;
        std::string process;
        std::string file;
    };
    std::vector<Event> events() const {
        std::vector<Event> all;
        std::istringstream lines(contents(trace_));
        for (std::string kind, process, file; lines >> kind >> process >> file;) {
            all.push_back({kind == "begin", process, unescaped(file)});
        }
        return all;
    }

    /// From a process's first tool on a file to its last one, no other process may have one on it.
    void expectNoFileSharedAtATime() const {
        const std::vector<Event> all = events();
        std::map<std::pair<std::string, std::string>, std::pair<std::size_t, std::size_t>> spans;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const auto [span, isNew] = spans.try_emplace({all[i].file, all[i].process}, i, i);
            span->second.second = i;
        }
        for (auto span = spans.begin(); span != spans.end(); ++span) {
            const auto next = std::next(span);
            if (next != spans.end() && next->first.first == span->first.first) {
                const auto& [firstBegin, firstEnd] = span->second;
                const auto& [secondBegin, secondEnd] = next->second;
                EXPECT_TRUE(firstEnd < secondBegin || secondEnd < firstBegin) << span->first.first;
            }
        }
    }

    const TemporaryFolder folder_;
    const FakeTools tools_;
    const URL trace_ = folder_ / "trace";
    const URL pictures_ = folder_ / "pictures";
    std::vector<URL> files_;
    std::size_t mostJobs_ = 0;
};

TEST_F(Processes, ShareTheMachineAndNeverAFile) {
    const pid_t first = start(0);
    const pid_t second = start(1);
    EXPECT_EQ(wait(first), 0);
    EXPECT_EQ(wait(second), 0);
    EXPECT_THAT(mostJobs_, AllOf(Ge(4U), Le(10U)));
    expectNoFileSharedAtATime();
    std::set<std::string> touched;
    for (const Event& event : events()) {
        touched.insert(event.file);
    }
    EXPECT_THAT(touched, SizeIs(70));
    for (const URL& file : files_) {
        EXPECT_EQ(contents(file), textOf(smallPNG)) << file.path();
    }
    auto counts = outcomesOf(0);
    for (const auto& [outcome, count] : outcomesOf(1)) {
        counts[outcome] += count;
    }
    EXPECT_EQ(counts["replaced"], 70);
    EXPECT_EQ(counts["skipped"], 10) << "what the other process had made smaller already";
    EXPECT_THAT(UndoStore().readRecords(), SizeIs(70));
}

TEST_F(Processes, GoOnWhenOneIsKilled) {
    const pid_t first = start(0);
    const pid_t second = start(1);
    while (UndoStore().records().size() < 20) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_EQ(::kill(first, SIGKILL), 0);
    EXPECT_EQ(wait(second), 0);
    EXPECT_TRUE(WIFSIGNALED(wait(first)));
    auto counts = outcomesOf(1);
    EXPECT_EQ(counts["replaced"] + counts["skipped"], 40);
    for (std::size_t i = 0; i < files_.size(); ++i) {
        const std::string found = contents(files_[i]);
        EXPECT_TRUE(found == textOf(smallPNG) || (i < 30 && found == textOf(bigPNG))) << files_[i].path();
    }
}

} // namespace
} // namespace tarnwick::test
