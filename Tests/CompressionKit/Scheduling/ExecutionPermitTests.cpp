#include "Foundation/FileSystemError.h"
#include "HolderProcess.h"
#include "Scheduling/ExecutionPermit.h"
#include "Support/Failure.h"
#include "Support/TemporaryFolder.h"
#include "Support/Unprivileged.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/stat.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <system_error>

namespace tarnwick::test {
namespace {

using namespace std::chrono_literals;

/// Milliseconds, long enough for a process to start and take a free permit.
constexpr int aMoment = 300;

class ExecutionPermitTest : public testing::Test {
protected:
    static std::string failure(const URL& directory, int capacity = 2, const std::stop_token& stop = {}) {
        return failureOf([&] { const ExecutionPermit permit(directory, "key", capacity, stop); });
    }
    static std::size_t openDescriptors() { return entries(URL::file("/proc/self/fd")).size(); }

    TemporaryFolder folder_;
    const URL locks_ = folder_ / "above/locks";
};

TEST_F(ExecutionPermitTest, ExcludesOtherProcessesFromTheFileAndTheSlots) {
    auto permit = std::make_unique<ExecutionPermit>(locks_, "file", 2);
    HolderProcess second(locks_, "file", 2);
    EXPECT_FALSE(second.isHolding(aMoment));
    // A process that waits for the file occupies no slot.
    HolderProcess other(locks_, "other", 2);
    EXPECT_TRUE(other.isHolding());
    const HolderProcess third(locks_, "third", 2);
    EXPECT_FALSE(third.isHolding(aMoment));
    other.kill();
    EXPECT_TRUE(third.isHolding());

    permit.reset();
    EXPECT_TRUE(second.isHolding());
    const HolderProcess next(locks_, "file", 2);
    EXPECT_FALSE(next.isHolding(aMoment));
    second.kill();
    EXPECT_TRUE(next.isHolding());
}

TEST_F(ExecutionPermitTest, KeepsItsLocksPrivate) {
    const std::size_t before = openDescriptors();
    std::optional<HolderProcess> child;
    {
        const ExecutionPermit permit(locks_, "abc", 2);
        EXPECT_EQ(openDescriptors(), before + 2);
        child.emplace(folder_ / "elsewhere", "key", 1);
        ASSERT_TRUE(child->isHolding());
    }
    // The child is still running: if it had inherited the descriptors, both locks would still be held.
    EXPECT_TRUE(HolderProcess(locks_, "abc", 1).isHolding());
    std::string found;
    for (const URL& url : {folder_ / "above", locks_, entries(locks_).at(0), entries(locks_).at(1)}) {
        struct stat status {};
        EXPECT_EQ(::stat(url.c_str(), &status), 0);
        found += url.lastPathComponent() + (status.st_mode & 0077U ? " open " : " private ");
    }
    EXPECT_EQ(found,
              "above private locks private file-ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f"
              "20015ad.lock private slot-0.lock private ");
}

TEST_F(ExecutionPermitTest, FailsWithoutKeepingALock) {
    EXPECT_THAT(unprivileged([&] { return failure(locks_); }), testing::HasSubstr("Permission denied"));
    EXPECT_EQ(unprivileged([&] { return failure(folder_.url()); }), "无法创建压缩任务锁");
    EXPECT_THROW(ExecutionPermit(folder_.file("file", ""), "key", 1), FileSystemError);
    createDirectories(locks_.appending("slot-1.lock"));
    const std::size_t before = openDescriptors();
    EXPECT_EQ(failure(locks_), "无法创建压缩任务锁");
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_DEATH(ExecutionPermit(locks_, "key", -1), "");
}

TEST_F(ExecutionPermitTest, GivesUpWhenStopped) {
    const HolderProcess holder(locks_, "key", 1);
    ASSERT_TRUE(holder.isHolding());
    std::stop_source stop;
    const auto wait = [&](const URL& directory) {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
        return failure(directory, 0, stop.get_token());
    };
    auto forFile = std::async(std::launch::async, wait, locks_);
    auto forSlot = std::async(std::launch::async, wait, folder_ / "elsewhere");
    EXPECT_EQ(forFile.wait_for(200ms), std::future_status::timeout);
    EXPECT_EQ(forSlot.wait_for(0ms), std::future_status::timeout);
    stop.request_stop();
    EXPECT_EQ(forFile.get(), "canceled");
    EXPECT_EQ(forSlot.get(), "canceled");
    EXPECT_EQ(failure(locks_, 1, stop.get_token()), "canceled");
}

} // namespace
} // namespace tarnwick::test
