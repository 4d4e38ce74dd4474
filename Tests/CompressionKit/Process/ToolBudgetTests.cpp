#include "Process/MachineLimits.h"
#include "Process/ToolBudget.h"
#include "Process/ToolRunner.h"
#include "Support/FakeTools.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <random>
#include <thread>

namespace tarnwick::test {
namespace {

using namespace std::chrono_literals;
using Capacity = ToolBudget::Capacity;

/// A run on a thread of its own that holds its share until it is told to end.
class Holder {
public:
    Holder(ToolBudget& budget, std::int64_t memory, const Cancellation& cancellation = {})
        : end_(std::async(std::launch::async, [=, this, &budget] {
              const auto share = budget.take(memory, cancellation);
              begun_.set_value();
              finish_.get_future().wait();
          })) {}

    ~Holder() {
        if (end_.valid()) {
            finish_.set_value();
        }
    }

    bool hasBegun(std::chrono::milliseconds patience = 30s) {
        return begin_.wait_for(patience) == std::future_status::ready;
    }
    /// Long enough for it to begin if it may.
    bool waits() { return !hasBegun(100ms); }
    void finish() {
        finish_.set_value();
        end_.get();
    }
    std::future<void>& end() { return end_; }

private:
    std::promise<void> begun_;
    std::promise<void> finish_;
    std::shared_future<void> begin_ = begun_.get_future().share();
    std::future<void> end_;
};

TEST(ToolBudget, LetsAsManyRunAsThereAreProcessorsAndMemory) {
    ToolBudget budget([] { return Capacity{.processors = 3, .memory = 100}; });
    Holder first(budget, 60);
    ASSERT_TRUE(first.hasBegun());
    Holder second(budget, 40);
    ASSERT_TRUE(second.hasBegun());
    Holder third(budget, 1);
    EXPECT_TRUE(third.waits()) << "no memory left";
    second.finish();
    ASSERT_TRUE(third.hasBegun());
    Holder fourth(budget, 0);
    ASSERT_TRUE(fourth.hasBegun());
    Holder fifth(budget, 0);
    EXPECT_TRUE(fifth.waits()) << "no processor left";
    first.finish();
    EXPECT_TRUE(fifth.hasBegun());
    for (Holder* holder : {&third, &fourth, &fifth}) {
        holder->finish();
    }
}

TEST(ToolBudget, RunsTheOversizedAloneAndInItsTurn) {
    int asked = 0;
    ToolBudget budget([&asked] {
        ++asked;
        return Capacity{.processors = 4, .memory = 100};
    });
    Holder small(budget, 10);
    ASSERT_TRUE(small.hasBegun());
    Holder huge(budget, 5'000);
    EXPECT_TRUE(huge.waits());
    Holder late(budget, 10);
    EXPECT_TRUE(late.waits()) << "it would fit, but came later";
    small.finish();
    ASSERT_TRUE(huge.hasBegun());
    EXPECT_TRUE(late.waits());
    huge.finish();
    ASSERT_TRUE(late.hasBegun());
    late.finish();
    EXPECT_EQ(asked, 3) << "whenever nothing ran";
}

TEST(ToolBudget, LetsTheNextGoWhenOneThatWaitsGivesUp) {
    ToolBudget budget([] { return Capacity{.processors = 2, .memory = 100}; });
    Holder running(budget, 50);
    ASSERT_TRUE(running.hasBegun());
    const auto cancellation = Cancellation::make();
    Holder waiting(budget, 80, cancellation.linked());
    EXPECT_TRUE(waiting.waits());
    Holder behind(budget, 50);
    EXPECT_TRUE(behind.waits());
    cancellation.request();
    EXPECT_THROW(waiting.end().get(), Cancelled);
    EXPECT_TRUE(behind.hasBegun());
    running.finish();
    behind.finish();
}

TEST(ToolBudget, NeverGivesOutMoreThanItHasAndServesEverybody) {
    constexpr int processors = 3;
    constexpr std::int64_t memory = 100;
    ToolBudget budget([] { return Capacity{.processors = processors, .memory = memory}; });
    std::atomic<int> running = 0;
    std::atomic<std::int64_t> used = 0;
    std::atomic<int> served = 0;
    const auto cancellation = Cancellation::make();
    {
        std::vector<std::jthread> threads;
        for (unsigned seed = 0; seed < 12; ++seed) {
            threads.emplace_back([&, seed] {
                std::mt19937 random(seed);
                for (int i = 0; i < 100; ++i) {
                    const auto need = static_cast<std::int64_t>(random() % 140);
                    const auto share = budget.take(need, cancellation);
                    EXPECT_LE(++running, processors);
                    const std::int64_t all = used += need;
                    EXPECT_TRUE(all <= memory || all == need) << all;
                    used -= need;
                    --running;
                    ++served;
                }
            });
        }
    }
    EXPECT_EQ(served, 1'200);
}

TEST(ToolBudget, WaitingIsNoPartOfTheToolsTime) {
    const FakeTools tools;
    tools.script("oxipng", {{"print", "ran"}});
    ToolBudget budget([] { return Capacity{.processors = 1, .memory = 0}; });
    const ToolRunner runner(tools.folder(), {}, budget);
    Holder holder(budget, 0);
    ASSERT_TRUE(holder.hasBegun());
    auto run = std::async(std::launch::async, [&] { return runner.run("oxipng", {}, 5, 1); });
    EXPECT_EQ(run.wait_for(6s), std::future_status::timeout);
    EXPECT_TRUE(tools.runs().empty());
    holder.finish();
    EXPECT_EQ(run.get(), "ran");
    Holder next(budget, 0);
    EXPECT_TRUE(next.hasBegun()) << "given back";
}

TEST(Cancellation, LinkedOnesHearTheirParentAndKeepToThemselves) {
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
    const auto orphan = Cancellation().linked();
    EXPECT_FALSE(orphan.isRequested());
    orphan.request();
    EXPECT_TRUE(orphan.isRequested());
}

/// A machine's files.
class MachineLimitsTest : public testing::Test {
protected:
    void put(const std::string& path, const std::string& text) const {
        createDirectories((root_ / path).deletingLastPathComponent());
        root_.file(path, text);
    }

    const TemporaryFolder root_;
    const URL& root = root_.url();
};

TEST_F(MachineLimitsTest, ReadsTheWholeMachineWhenNothingLimits) {
    put("proc/meminfo", "MemTotal: 9 kB\nMemAvailable:    4096 kB\n");
    put("proc/self/cgroup", "0::/\n");
    put("sys/fs/cgroup/cpu.max", "max 100000\n");
    put("sys/fs/cgroup/memory.max", "max\n");
    put("sys/fs/cgroup/memory.current", "5\n");
    EXPECT_EQ(MachineLimits::availableMemory(root), 4096 * 1024);
    EXPECT_EQ(MachineLimits::processors(root), MachineLimits::processors(root_ / "nothing"));
    EXPECT_GE(MachineLimits::processors(), 1);
    EXPECT_GT(MachineLimits::availableMemory(), 1 << 20);
}

TEST_F(MachineLimitsTest, CountsTheGroupsOnTheWayToTheRoot) {
    put("proc/meminfo", "MemAvailable: 4096 kB\n");
    put("proc/self/cgroup", "4:memory:/other\n0::/user/app\n");
    put("sys/fs/cgroup/user/cpu.max", "100000 100000\n");
    put("sys/fs/cgroup/user/app/cpu.max", "max 100000\n");
    put("sys/fs/cgroup/user/memory.max", "1000000\n");
    put("sys/fs/cgroup/user/memory.current", "800000\n");
    put("sys/fs/cgroup/user/memory.stat", "anon 1\ninactive_file 300000\n");
    EXPECT_EQ(MachineLimits::processors(root), 1);
    EXPECT_EQ(MachineLimits::availableMemory(root), 500'000);
    put("sys/fs/cgroup/user/app/memory.max", "10\n");
    put("sys/fs/cgroup/user/app/memory.current", "20\n");
    EXPECT_EQ(MachineLimits::availableMemory(root), 0);
}

TEST_F(MachineLimitsTest, ReadsTheOlderHierarchiesWithThePathsOfAContainer) {
    put("proc/self/cgroup", "9:cpu,cpuacct:/docker/x\n4:memory:/docker/x\n");
    put("sys/fs/cgroup/cpu/cpu.cfs_quota_us", "50000\n");
    put("sys/fs/cgroup/cpu/cpu.cfs_period_us", "100000\n");
    put("sys/fs/cgroup/memory/memory.limit_in_bytes", "2000\n");
    put("sys/fs/cgroup/memory/memory.usage_in_bytes", "500\n");
    EXPECT_EQ(MachineLimits::processors(root), 1);
    EXPECT_EQ(MachineLimits::availableMemory(root), 1'500);
    put("sys/fs/cgroup/cpu/cpu.cfs_quota_us", "-1\n");
    EXPECT_EQ(MachineLimits::processors(root), MachineLimits::processors(root_ / "nothing"));
}

} // namespace
} // namespace tarnwick::test
