#include "Foundation/FileLock.h"
#include "Foundation/FileSystemError.h"
#include "Scheduling/ExecutionPermit.h"
#include "Support/Failure.h"
#include "Support/TemporaryFolder.h"
#include "Support/Unprivileged.h"
#include "Support/Waiting.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/stat.h>

#include <cstdio>
#include <memory>
#include <string>

namespace tarnwick::test {
namespace {

class ExecutionPermitTest : public testing::Test {
protected:
    static std::string failure(const URL& directory, int capacity = 2, const std::stop_token& stop = {}) {
        return failureOf([&] { const ExecutionPermit permit(directory, "key", capacity, stop); });
    }
    /// The kernel treats two openings of a lock file alike, whether one process opened them or two.
    HeldJob hold(const std::string& key) const {
        return HeldJob([&](const auto& body) {
            return std::async(std::launch::async, [this, key, body] {
                const ExecutionPermit permit(locks_, key, 2);
                body();
            });
        });
    }
    static std::size_t openDescriptors() { return entries(URL::file("/proc/self/fd")).size(); }

    TemporaryFolder folder_;
    const URL locks_ = folder_ / "above/locks";
};

TEST_F(ExecutionPermitTest, ExcludesOthersFromTheFileAndTheSlots) {
    HeldJob first = hold("file");
    ASSERT_TRUE(first.hasBegun());
    HeldJob second = hold("file");
    EXPECT_FALSE(second.hasBegun(aMoment));
    HeldJob other = hold("other");
    EXPECT_TRUE(other.hasBegun()) << "a wait for the file occupies a slot";
    HeldJob third = hold("third");
    EXPECT_FALSE(third.hasBegun(aMoment));
    other.finish();
    EXPECT_TRUE(third.hasBegun());
    EXPECT_FALSE(second.hasBegun(aMoment));
    first.finish();
    EXPECT_TRUE(second.hasBegun());
    second.finish();
    third.finish();
}

TEST_F(ExecutionPermitTest, KeepsItsLocksPrivate) {
    const std::size_t before = openDescriptors();
    std::unique_ptr<FILE, int (*)(FILE*)> child(nullptr, &::pclose);
    {
        const ExecutionPermit permit(locks_, "abc", 2);
        EXPECT_EQ(openDescriptors(), before + 2);
        child.reset(::popen("cat", "w")); // NOLINT(cert-env33-c)
    }
    const URL file =
        locks_.appending("file-ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad.lock");
    const URL slot = locks_.appending("slot-0.lock");
    for (const URL& lock : {file, slot}) {
        EXPECT_TRUE(waitUntil([&] { return !FileLock::isHeld(lock); })) << "the child has " << lock.path();
    }
    for (const URL& item : {locks_.deletingLastPathComponent(), locks_, file, slot}) {
        EXPECT_EQ(modeOfFile(item, 0777) & 0077U, 0U) << item.path();
    }
}

TEST_F(ExecutionPermitTest, FailsWithoutKeepingALock) {
    ::chmod(folder_.url().c_str(), 0555);
    EXPECT_THAT(unprivileged([&] { return failure(locks_); }), testing::HasSubstr("Permission denied"));
    EXPECT_EQ(unprivileged([&] { return failure(folder_.url()); }), "无法创建压缩任务锁");
    ::chmod(folder_.url().c_str(), 0755);
    EXPECT_THROW(ExecutionPermit(folder_.file("file", ""), "key", 1), FileSystemError);
    createDirectories(locks_.appending("slot-1.lock"));
    const std::size_t before = openDescriptors();
    EXPECT_EQ(failure(locks_), "无法创建压缩任务锁");
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_DEATH(ExecutionPermit(locks_, "key", -1), "");
}

TEST_F(ExecutionPermitTest, GivesUpWhenStopped) {
    const ExecutionPermit holder(locks_, "key", 1);
    std::stop_source stop;
    const auto wait = [&](const URL& directory) {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
        return failure(directory, 0, stop.get_token());
    };
    auto forFile = std::async(std::launch::async, wait, locks_);
    auto forSlot = std::async(std::launch::async, wait, folder_ / "elsewhere");
    EXPECT_EQ(forFile.wait_for(aMoment), std::future_status::timeout);
    EXPECT_EQ(forSlot.wait_for(aMoment), std::future_status::timeout);
    stop.request_stop();
    EXPECT_EQ(forFile.get(), "canceled");
    EXPECT_EQ(forSlot.get(), "canceled");
    EXPECT_EQ(failure(locks_, 1, stop.get_token()), "canceled");
}

} // namespace
} // namespace tarnwick::test
