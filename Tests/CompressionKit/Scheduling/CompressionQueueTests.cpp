#include "HolderProcess.h"
#include "Scheduling/CompressionQueue.h"
#include "Support/Failure.h"
#include "Support/TemporaryFolder.h"
#include "Support/Waiting.h"

#include <asio/awaitable.hpp>
#include <asio/co_spawn.hpp>
#include <asio/io_context.hpp>
#include <asio/use_awaitable.hpp>
#include <asio/use_future.hpp>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <optional>
#include <random>
#include <thread>
#include <vector>

// The reference count of exceptions is in the C++ library, which the thread sanitizer does not instrument.
extern "C" const char* __tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "race:std::__exception_ptr::exception_ptr::_M_release";
}

namespace tarnwick::test {
namespace {

using namespace std::chrono_literals;
using asio::use_future;

template <typename Result>
std::string failureOfJob(std::future<Result> job) {
    return test::failureOf([&] { job.get(); });
}

class CompressionQueueTest : public testing::Test {
protected:
    static HeldJob hold(CompressionQueue& queue, const URL& url) {
        return HeldJob([&](const auto& body) { return queue.run(url, body, use_future); });
    }

    TemporaryFolder folder_;
    const URL locks_ = folder_ / "locks";
    const URL a_ = folder_ / "a.png";
    const URL b_ = folder_ / "b.png";
    const URL c_ = folder_ / "c.png";
};

TEST_F(CompressionQueueTest, GivesAllPathsToAFileOneIdentity) {
    namespace fs = std::filesystem;
    createDirectories(folder_ / "real/inner");
    const URL file = folder_.file("real/file", "");
    fs::create_directory_symlink("real", (folder_ / "link").path());
    fs::create_directory_symlink("real/inner", (folder_ / "deep").path());
    fs::create_symlink(file.path(), (folder_ / "alias").path());
    fs::create_hard_link(file.path(), (folder_ / "hard").path());
    fs::create_symlink("circle", (folder_ / "circle").path());
    const auto identity = [&](const char* path) { return CompressionQueue::fileIdentity(folder_ / path); };
    for (const char* path : {"real/file", "link/file", "real/./inner//../file", "deep/../file", "alias"}) {
        EXPECT_EQ(identity(path), fs::canonical(file.path()).native()) << path;
    }
    EXPECT_NE(identity("hard"), identity("alias"));
    EXPECT_EQ(identity("link/none"), identity("real/none"));
    EXPECT_EQ(identity("circle"), (folder_ / "circle").path());
}

TEST_F(CompressionQueueTest, SkipsAJobOfABusyFileAndKeepsItsPlace) {
    CompressionQueue queue(2, locks_);
    HeldJob firstA = hold(queue, a_);
    HeldJob secondA = hold(queue, folder_ / "none/../a.png");
    HeldJob b = hold(queue, b_);
    ASSERT_TRUE(firstA.hasBegun());
    ASSERT_TRUE(b.hasBegun());
    HeldJob c = hold(queue, c_);
    EXPECT_FALSE(secondA.hasBegun(aMoment));
    firstA.finish();
    EXPECT_TRUE(secondA.hasBegun());
    EXPECT_FALSE(c.hasBegun(aMoment));
    b.finish();
    EXPECT_TRUE(c.hasBegun());
    secondA.finish();
    c.finish();
}

TEST_F(CompressionQueueTest, CompletesWithTheResultOrTheErrorOfTheOperation) {
    CompressionQueue queue(0, locks_);
    EXPECT_EQ(queue.limit(), 1);
    auto text = std::make_unique<std::string>("moved");
    auto moves = [text = std::move(text)]() mutable { return std::move(text); };
    EXPECT_EQ(*queue.run(a_, std::move(moves), use_future).get(), "moved");

    // None of these may keep the only slot, or the file, occupied.
    const auto throws = [] { throw CompressionError::invalidImage(); };
    bool isRun = false;
    EXPECT_EQ(failureOfJob(queue.run(a_, throws, use_future)), "图片无法解码");
    EXPECT_EQ(failureOfJob(queue.run(
                  a_, throws, [&] { isRun = true; }, use_future)),
              "图片无法解码");
    EXPECT_FALSE(isRun);
    EXPECT_EQ(failureOfJob(queue.run(
                  a_, [] {}, use_future)),
              "no failure");

    CompressionQueue blocked(50, folder_.file("file", ""));
    EXPECT_EQ(blocked.limit(), 10);
    EXPECT_EQ(failureOfJob(blocked.run(
                               a_, [] { return 1; }, use_future))
                  .find("无法创建文件夹"),
              0U);
}

TEST_F(CompressionQueueTest, HoldsThePermitFromStartToEnd) {
    CompressionQueue queue(1, locks_);
    std::string order;
    auto token = std::make_shared<int>();
    const auto note = [&, token](const char* step) {
        const FileDescriptor slot = openForReading(locks_.appending("slot-0.lock"));
        order += step + std::string(::flock(slot.get(), LOCK_EX | LOCK_NB) != 0 ? " locked " : " free ");
    };
    const auto start = [note] { note("start"); };
    queue
        .run(
            a_, start, [note] { note("work"); }, use_future)
        .get();
    note("end");
    EXPECT_EQ(order, "start locked work locked end free ");
    EXPECT_EQ(token.use_count(), 3) << "the job keeps what it was given";
}

TEST_F(CompressionQueueTest, CompletesOnTheHandlersExecutor) {
    CompressionQueue queue(2, locks_);
    asio::io_context loop;
    std::thread::id thread;
    const auto handler = [&](const std::exception_ptr&, int) { thread = std::this_thread::get_id(); };
    // Only the job keeps the loop running.
    const auto slow = [] { return std::this_thread::sleep_for(aMoment), 7; };
    queue.run(a_, slow, asio::bind_executor(loop, handler));
    loop.run();
    EXPECT_EQ(thread, std::this_thread::get_id());

    std::promise<int> value;
    queue.run(a_, slow, [&](const std::exception_ptr&, int result) { value.set_value(result); });
    EXPECT_EQ(value.get_future().get(), 7);

// Asio does not support the coroutines of every compiler.
#ifdef ASIO_HAS_CO_AWAIT
    const auto body = [&]() -> asio::awaitable<void> {
        EXPECT_EQ(co_await queue.run(
                      a_, [] { return std::string("text"); }, asio::use_awaitable),
                  "text");
        co_await queue.run(
            b_, [] { throw CompressionError::invalidImage(); }, asio::use_awaitable);
    };
    loop.restart();
    auto result = asio::co_spawn(loop, body(), use_future);
    loop.run();
    EXPECT_EQ(failureOfJob(std::move(result)), "图片无法解码");
#endif
}

TEST_F(CompressionQueueTest, NeverExceedsItsLimitOrRunsTwoJobsOnAFile) {
    constexpr int limit = 4;
    createDirectories(folder_ / "inner");
    std::filesystem::create_directory_symlink(folder_.url().path(), (folder_ / "link").path());
    std::atomic<int> together = 0;
    std::atomic<int> faults = 0;
    std::array<std::atomic<int>, 6> onFile{};
    CompressionQueue queue(limit, locks_);
    const auto submitJobs = [&](unsigned seed) {
        constexpr std::array ways = {"", "link/", "inner/../"};
        std::mt19937 random(seed);
        std::vector<std::future<void>> jobs;
        for (int i = 0; i < 125; ++i) {
            const std::size_t file = random() % onFile.size();
            const auto work = [&, file, pause = std::chrono::microseconds(random() % 500)] {
                faults += (++together > limit ? 1 : 0) + (++onFile[file] > 1 ? 1 : 0);
                std::this_thread::sleep_for(pause);
                --onFile[file];
                --together;
            };
            const URL url = folder_ / (ways[random() % ways.size()] + std::to_string(file));
            jobs.push_back(queue.run(url, work, use_future));
        }
        for (auto& job : jobs) {
            job.get();
        }
    };
    std::vector<std::future<void>> submitters;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        submitters.push_back(std::async(std::launch::async, submitJobs, seed));
    }
    for (auto& submitter : submitters) {
        submitter.get();
    }
    EXPECT_EQ(faults, 0);
}

TEST_F(CompressionQueueTest, EndsWhileJobsWait) {
    HolderProcess holder(locks_, CompressionQueue::fileIdentity(a_), 3);
    ASSERT_TRUE(holder.isHolding());
    std::optional<CompressionQueue> queue(std::in_place, 2, locks_);
    HeldJob running = hold(*queue, b_);
    ASSERT_TRUE(running.hasBegun());
    const auto submit = [&](const URL& url) {
        return queue->run(
            url, [] {}, use_future);
    };
    auto forPermit = submit(a_);
    auto forFile = submit(b_);
    EXPECT_EQ(forPermit.wait_for(aMoment), std::future_status::timeout);
    queue->stop();
    EXPECT_EQ(failureOfJob(std::move(forPermit)), "canceled");
    EXPECT_EQ(failureOfJob(std::move(forFile)), "canceled");
    EXPECT_EQ(failureOfJob(submit(c_)), "canceled");
    auto end = std::async(std::launch::async, [&] { queue.reset(); });
    EXPECT_EQ(end.wait_for(aMoment), std::future_status::timeout) << "an operation is still running";
    running.finish();
    end.get();

    queue.emplace(1, locks_);
    forPermit = submit(a_);
    holder.kill();
    forPermit.get();
}

TEST_F(CompressionQueueTest, EndsWithItsProcess) {
    const URL locks = folder_ / "Tarnwick/CompressionLocks";
    const HolderProcess holder(locks, CompressionQueue::fileIdentity(a_), 1);
    ASSERT_TRUE(holder.isHolding());
    const auto leaveWithWaitingJobs = [&] {
        ::setenv("XDG_DATA_HOME", folder_.url().c_str(), 1);
        CompressionQueue& queue = CompressionQueue::shared();
        const auto first = queue.run(
            a_, [] {}, use_future);
        const auto second = queue.run(
            a_, [] {}, use_future);
        queue
            .run(
                b_, [] {}, use_future)
            .get();
        std::exit(queue.limit());
    };
    EXPECT_EXIT(leaveWithWaitingJobs(), testing::ExitedWithCode(10), "");
    EXPECT_TRUE(itemExists(locks.appending("slot-9.lock")));
}

} // namespace
} // namespace tarnwick::test
