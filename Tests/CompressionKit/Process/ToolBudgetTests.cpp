#include "Foundation/CompressionError.h"
#include "Process/MachineLimits.h"
#include "Process/ToolBudget.h"
#include "Process/ToolRunner.h"
#include "Support/FakeTools.h"
#include "Support/Waiting.h"

#include <gtest/gtest.h>

#include <future>
#include <new>

namespace tarnwick::test {
namespace {

using Capacity = ToolBudget::Capacity;

/// A run that holds its share until it is told to finish.
HeldJob hold(ToolBudget& budget, std::int64_t memory,
             const Cancellation& cancellation = Cancellation::never()) {
    return HeldJob([&](const auto& body) {
        return std::async(std::launch::async, [=, &budget] {
            const auto share = budget.take(memory, cancellation);
            body();
        });
    });
}

TEST(ToolBudget, LetsAsManyRunAsThereAreProcessorsAndMemory) {
    ToolBudget budget([] { return Capacity{.processors = 3, .memory = 100}; });
    HeldJob first = hold(budget, 60);
    ASSERT_TRUE(first.hasBegun());
    HeldJob second = hold(budget, 40);
    ASSERT_TRUE(second.hasBegun());
    HeldJob third = hold(budget, 1);
    EXPECT_FALSE(third.hasBegun(aMoment)) << "no memory left";
    second.finish();
    ASSERT_TRUE(third.hasBegun());
    HeldJob fourth = hold(budget, 0);
    ASSERT_TRUE(fourth.hasBegun());
    HeldJob fifth = hold(budget, 0);
    EXPECT_FALSE(fifth.hasBegun(aMoment)) << "no processor left";
    first.finish();
    EXPECT_TRUE(fifth.hasBegun());
    for (HeldJob* holder : {&third, &fourth, &fifth}) {
        holder->finish();
    }
}

TEST(ToolBudget, RunsTheOversizedAloneAndInItsTurn) {
    int asked = 0;
    const auto capacity = [&asked] {
        ++asked;
        return Capacity{.processors = 4, .memory = 100};
    };
    ToolBudget budget(capacity, 5'000);
    EXPECT_THROW(budget.take(5'001), CompressionError);
    HeldJob small = hold(budget, 10);
    ASSERT_TRUE(small.hasBegun());
    HeldJob huge = hold(budget, 5'000);
    EXPECT_FALSE(huge.hasBegun(aMoment));
    HeldJob late = hold(budget, 10);
    EXPECT_FALSE(late.hasBegun(aMoment)) << "it would fit, but came later";
    small.finish();
    ASSERT_TRUE(huge.hasBegun());
    EXPECT_FALSE(late.hasBegun(aMoment));
    huge.finish();
    ASSERT_TRUE(late.hasBegun());
    late.finish();
    EXPECT_EQ(asked, 3) << "once whenever nothing ran";
}

TEST(ToolBudget, ServesTheNextWhenAWaitingOneIsCancelled) {
    ToolBudget budget([] { return Capacity{.processors = 2, .memory = 100}; });
    HeldJob running = hold(budget, 50);
    ASSERT_TRUE(running.hasBegun());
    const auto cancellation = Cancellation::make();
    HeldJob waiting = hold(budget, 80, cancellation.linked());
    EXPECT_FALSE(waiting.hasBegun(aMoment));
    HeldJob behind = hold(budget, 50);
    EXPECT_FALSE(behind.hasBegun(aMoment));
    cancellation.request();
    EXPECT_THROW(waiting.get(), Cancelled);
    EXPECT_TRUE(behind.hasBegun());
    running.finish();
    behind.finish();
}

TEST(ToolBudget, GoesOnWhenItsCapacityCannotBeRead) {
    ToolBudget budget([]() -> Capacity { throw std::bad_alloc(); });
    EXPECT_NO_THROW(budget.take(1));
    EXPECT_TRUE(hold(budget, 1).hasBegun());
}

TEST(ToolBudget, ARunWaitsForItsShareAndGivesItBack) {
    const FakeTools tools;
    tools.script("oxipng", {{"print", "ran"}});
    ToolBudget budget([] { return Capacity{.processors = 1, .memory = 0}; });
    const ToolRunner runner(tools.folder(), Cancellation::never(), budget);
    HeldJob job = hold(budget, 0);
    ASSERT_TRUE(job.hasBegun());
    auto run = std::async(std::launch::async, [&] { return runner.run("oxipng", {}, 60, 1); });
    EXPECT_EQ(run.wait_for(aMoment), std::future_status::timeout);
    EXPECT_TRUE(tools.runs().empty());
    job.finish();
    EXPECT_EQ(run.get(), "ran");
    EXPECT_TRUE(hold(budget, 0).hasBegun()) << "given back";
}

TEST(Cancellation, ReachesLinkedChildrenButNotTheParent) {
    const auto parent = Cancellation::make();
    const auto child = parent.linked();
    const auto grandchild = child.linked();
    const auto sibling = parent.linked();
    child.request();
    EXPECT_TRUE(grandchild.isRequested());
    EXPECT_FALSE(sibling.isRequested());
    EXPECT_FALSE(parent.isRequested());
    parent.request();
    EXPECT_TRUE(sibling.isRequested());
    const auto orphan = Cancellation::never().linked();
    EXPECT_FALSE(orphan.isRequested());
    orphan.request();
    EXPECT_TRUE(orphan.isRequested());
    Cancellation::never().request();
    EXPECT_FALSE(Cancellation::never().isRequested()) << "nobody can cancel it";
    EXPECT_NO_THROW(sleepUnlessCancelled(0.001, Cancellation::make()));
}

/// Reads the limits of a copy of the files in /proc and /sys.
class MachineLimitsTest : public testing::Test {
protected:
    using Files = std::vector<std::pair<std::string, std::string>>;

    void put(const std::string& parent, const Files& files) const {
        createDirectories(folder / parent);
        for (const auto& [name, text] : files) {
            folder.file(std::string(parent).append("/").append(name), text + "\n");
        }
    }
    int processors() const { return MachineLimits::processors(folder.url()); }
    std::int64_t memory() const { return MachineLimits::availableMemory(folder.url()); }

    const TemporaryFolder folder;
    const int allProcessors = processors();
};

TEST_F(MachineLimitsTest, ReadsTheWholeMachineWhenNothingLimits) {
    put("proc", {{"meminfo", "MemTotal: 9 kB\nMemAvailable:    4096 kB"}});
    put("proc/self", {{"cgroup", "0::/"}});
    put("sys/fs/cgroup", {{"cpu.max", "max 100000"}, {"memory.max", "max"}, {"memory.current", "5"}});
    EXPECT_EQ(memory(), 4096 * 1024);
    EXPECT_EQ(MachineLimits::totalMemory(folder.url()), 9 * 1024);
    EXPECT_EQ(processors(), allProcessors);
    EXPECT_GE(MachineLimits::processors(), 1);
    EXPECT_GT(MachineLimits::availableMemory(), 1 << 20);
}

TEST_F(MachineLimitsTest, CountsTheGroupsOnTheWayToTheRoot) {
    put("proc", {{"meminfo", "MemAvailable: 4096 kB"}});
    put("proc/self", {{"cgroup", "4:memory:/other\n0::/user/app"}});
    put("sys/fs/cgroup/user", {{"cpu.max", "100000 100000"},
                               {"memory.max", "1000000"},
                               {"memory.current", "800000"},
                               {"memory.stat", "anon 1\ninactive_file 300000"}});
    put("sys/fs/cgroup/user/app", {{"cpu.max", "max 100000"}});
    EXPECT_EQ(processors(), 1);
    EXPECT_EQ(memory(), 500'000);
    EXPECT_EQ(MachineLimits::totalMemory(folder.url()), 1'000'000);
    put("sys/fs/cgroup/user/app", {{"memory.max", "10"}, {"memory.current", "20"}});
    EXPECT_EQ(memory(), 0);
}

TEST_F(MachineLimitsTest, ReadsTheOlderHierarchiesWithThePathsOfAContainer) {
    put("proc/self", {{"cgroup", "9:cpu,cpuacct:/docker/x\n4:memory:/docker/x"}});
    put("sys/fs/cgroup/cpu", {{"cpu.cfs_quota_us", "50000"}, {"cpu.cfs_period_us", "100000"}});
    put("sys/fs/cgroup/memory", {{"memory.limit_in_bytes", "2000"}, {"memory.usage_in_bytes", "500"}});
    EXPECT_EQ(processors(), 1);
    EXPECT_EQ(memory(), 1'500);
    EXPECT_EQ(MachineLimits::totalMemory(folder.url()), 2'000);
    put("sys/fs/cgroup/cpu", {{"cpu.cfs_quota_us", "-1"}});
    EXPECT_EQ(processors(), allProcessors);
}

} // namespace
} // namespace tarnwick::test
