#include "Foundation/FileLock.h"
#include "Scheduling/CompressionQueue.h"
#include "Scheduling/ExecutionPermit.h"
#include "Support/Failure.h"
#include "Support/TemporaryFolder.h"
#include "Support/Waiting.h"

#include <asio/io_context.hpp>
#include <asio/use_future.hpp>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

// The reference count of exceptions is in the C++ library, which the thread sanitizer does not instrument.
extern "C" const char* __tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "race:std::__exception_ptr::exception_ptr::_M_release";
}

namespace tarnwick::test {
namespace {

constexpr auto nothing = [] {};

class CompressionQueueTest : public testing::Test {
protected:
    template <typename Operation>
    static auto run(CompressionQueue& queue, const URL& url, Operation operation) {
        return queue.run(url, std::move(operation), asio::use_future);
    }
    static HeldJob hold(CompressionQueue& queue, const URL& url) {
        return HeldJob([&](const auto& body) { return run(queue, url, body); });
    }
    template <typename Result>
    static std::string failure(std::future<Result> job) {
        return failureOf([&] { job.get(); });
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
    auto moves = [text = std::make_unique<std::string>("moved")]() mutable { return std::move(text); };
    EXPECT_EQ(*run(queue, a_, std::move(moves)).get(), "moved");

    // None of these may keep the only slot, or the file, occupied.
    const auto throws = [] { throw CompressionError::invalidImage(); };
    bool isRun = false;
    const auto notes = [&] { isRun = true; };
    EXPECT_EQ(failure(run(queue, a_, throws)), "图片无法解码");
    EXPECT_EQ(failure(queue.run(a_, throws, notes, asio::use_future)), "图片无法解码");
    EXPECT_FALSE(isRun);
    EXPECT_EQ(failure(run(queue, a_, nothing)), "no failure");

    CompressionQueue blocked(50, folder_.file("file", ""));
    EXPECT_EQ(blocked.limit(), 10);
    EXPECT_EQ(failure(run(blocked, a_, nothing)).find("无法创建文件夹"), 0U);
}

TEST_F(CompressionQueueTest, HoldsThePermitFromStartToEnd) {
    CompressionQueue queue(1, locks_);
    std::string order;
    auto token = std::make_shared<int>();
    const auto note = [&, token](const char* step) {
        order +=
            step + std::string(FileLock::isHeld(locks_.appending("slot-0.lock")) ? " locked " : " free ");
    };
    const auto start = [note] { note("start"); };
    const auto work = [note] { note("work"); };
    queue.run(a_, start, work, asio::use_future).get();
    note("end");
    EXPECT_EQ(order, "start locked work locked end free ");
    EXPECT_EQ(token.use_count(), 4) << "the job keeps what it was given";
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
}

TEST_F(CompressionQueueTest, EndsWhileJobsWait) {
    std::optional<ExecutionPermit> permit(std::in_place, locks_, CompressionQueue::fileIdentity(a_), 3);
    std::optional<CompressionQueue> queue(std::in_place, 2, locks_);
    HeldJob running = hold(*queue, b_);
    ASSERT_TRUE(running.hasBegun());
    auto forPermit = run(*queue, a_, nothing);
    auto forFile = run(*queue, b_, nothing);
    EXPECT_EQ(forPermit.wait_for(aMoment), std::future_status::timeout);
    queue->stop();
    EXPECT_EQ(failure(std::move(forPermit)), "canceled");
    EXPECT_EQ(failure(std::move(forFile)), "canceled");
    EXPECT_EQ(failure(run(*queue, c_, nothing)), "canceled");
    auto end = std::async(std::launch::async, [&] { queue.reset(); });
    EXPECT_EQ(end.wait_for(aMoment), std::future_status::timeout) << "an operation is still running";
    running.finish();
    end.get();

    queue.emplace(1, locks_);
    forPermit = run(*queue, a_, nothing);
    permit.reset();
    forPermit.get();
}

TEST_F(CompressionQueueTest, EndsWithItsProcess) {
    const URL locks = folder_ / "Tarnwick/CompressionLocks";
    const ExecutionPermit permit(locks, CompressionQueue::fileIdentity(a_), 1);
    const auto leaveWithWaitingJobs = [&] {
        ::setenv("XDG_DATA_HOME", folder_.url().c_str(), 1);
        CompressionQueue& queue = CompressionQueue::shared();
        const auto first = run(queue, a_, nothing);
        const auto second = run(queue, a_, nothing);
        run(queue, b_, nothing).get();
        std::exit(queue.limit());
    };
    EXPECT_EXIT(leaveWithWaitingJobs(), testing::ExitedWithCode(10), "");
    EXPECT_TRUE(itemExists(locks.appending("slot-9.lock")));
}

} // namespace
} // namespace tarnwick::test
