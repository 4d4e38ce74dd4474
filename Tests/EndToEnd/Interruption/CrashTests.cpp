#include "History/Leftovers.h"
#include "InterruptionWorld.h"
#include "Support/Failure.h"
#include "Support/Pictures.h"
#include "Trace.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <optional>

namespace tarnwick::test {
namespace {

using testing::IsEmpty;

/// The only record in the history, if any. Reading fails when a record is incomplete.
std::optional<UndoRecord> onlyRecord(const UndoStore& store) {
    const auto records = store.readRecords();
    EXPECT_LE(records.size(), 1U);
    return records.empty() ? std::nullopt : std::optional(records.front());
}

/// What the helper does when it starts.
void tidy(const InterruptionWorld& world) {
    const LeftoversReport leftovers = removeLeftovers(world.store(), world.workRegister());
    EXPECT_THAT(leftovers.problems, IsEmpty());
    EXPECT_FALSE(leftovers.isIncomplete);
    for (const URL& item : entries(world.folder())) {
        EXPECT_TRUE(item == world.file() || item == world.resultFile()) << item.path();
    }
    for (const UndoRecord& record : world.store().readRecords()) {
        EXPECT_EQ(record.state, UndoRecord::State::committed);
        EXPECT_LE(entries(world.store().root().appending(record.sessionID.text())).size(), 2U);
    }
}

class CrashTest : public testing::TestWithParam<Operation> {
protected:
    std::string uninterruptedResult() const {
        InterruptionWorld world(operation.original, operation.output);
        world.run("compress");
        return contents(world.resultFile());
    }

    /// Whether the folder is as it was before the picture was compressed.
    bool isUnchanged(const InterruptionWorld& world) const {
        return world.isConversion() ? !itemExists(world.resultFile()) : textOf(world.file()) == original;
    }

    /// Whether the operation had its effect.
    bool isDone(const InterruptionWorld& world) const {
        if (operation.isOfMenus()) {
            const char* entry = operation.command == "register" ? "/app/Linux/Tarnwick" : "/opt/tarnwick";
            const bool hasEntry = contents(world.menuFile()).find(entry) != std::string::npos;
            return hasEntry == (operation.command != "disable");
        }
        if (operation.isForgetting()) {
            return world.store().readRecords().empty();
        }
        return operation.command == "maintain" || isUnchanged(world) == (operation.command == "restore");
    }

    /// Restores the original.
    void expectNothingIsLost(const InterruptionWorld& world) const {
        EXPECT_TRUE(!world.isConversion() || textOf(world.file()) == original) << "the HEIC file was touched";
        const UndoStore& store = world.store();
        const auto record = onlyRecord(store);
        if (operation.isForgetting() && !(record && store.hasBackup(*record))) {
            EXPECT_TRUE(contents(world.file()) == result);
            return;
        }
        if (!isUnchanged(world)) {
            EXPECT_TRUE(textOf(world.resultFile()) == result || operation.title == "RestoreARemovedFile")
                << "the picture is damaged";
            ASSERT_TRUE(record) << "the record is lost";
            EXPECT_TRUE(contents(store.backupURL(*record)) == original);
            store.restore(*record);
            EXPECT_THAT(store.records(), IsEmpty());
        } else if (record) {
            // Refused or not: the file is not in danger.
            failureOf([&] { store.restore(*record); });
        }
        EXPECT_TRUE(contents(world.file()) == original);
        EXPECT_TRUE(isUnchanged(world));
    }

    /// Returns false when the operation makes fewer calls.
    bool interrupt(const Interruption& interruption) const {
        InterruptionWorld world(operation.original, operation.output);
        operation.prepare(world);
        const Outcome outcome = world.run(operation.command, interruption);
        const bool isFault = !interruption.how.starts_with("kill");
        if (isFault ? outcome.trace.empty() : !outcome.isKilled) {
            return false;
        }
        const TracedCall& call = outcome.trace.back();
        SCOPED_TRACE(interruption.how + " " + std::to_string(interruption.number) + " " + call.name + " " +
                     call.path + " " + call.destination + " " + outcome.error);
        EXPECT_TRUE(!isFault || !outcome.error.empty() || isDone(world)) << "the failure is not told";
        if (operation.isOfMenus()) {
            expectMenusAreWhole(world, isFault && call.name != "unlink");
        }
        // The state after a call equals the state before the next call, so both ways are tested on it.
        if (interruption.how != "kill-before") {
            tidy(world);
        }
        expectNothingIsLost(world);
        return true;
    }

    const Operation operation = GetParam();
    const std::string original = pictureText(operation.original);
    const std::string result = uninterruptedResult();
};

TEST_P(CrashTest, LosesNothingWhereverItHappens) {
    int number = 1;
    while (interrupt({number, "kill-before"}) && interrupt({number, "kill-after"})) {
        ASSERT_FALSE(HasFailure()) << "at call " << number;
        ++number;
    }
    EXPECT_GT(number, 2);
    std::cout << operation.title << ": killed at " << number - 1 << " calls\n";
}

/// With TARNWICK_EVERY_CALL set, every call fails in each way, else every third in one of them.
TEST_P(CrashTest, LosesNothingWhicheverCallFailsOnce) {
    const std::vector<int> codes = {ENOSPC, EIO, EACCES, EMFILE, EINTR};
    const bool isWhole = std::getenv("TARNWICK_EVERY_CALL") != nullptr;
    int number = 1;
    for (bool isReached = true; isReached && !HasFailure(); number += isWhole ? 1 : 3) {
        for (std::size_t i = 0; i < codes.size(); ++i) {
            if (isWhole || i == static_cast<std::size_t>(number) % codes.size()) {
                isReached = interrupt({number, std::to_string(codes[i])});
            }
        }
    }
    EXPECT_GT(number, 10);
    std::cout << operation.title << ": " << number - 2 << " calls\n";
}

TEST_P(CrashTest, LosesNothingWhenMemoryIsShort) {
    const int step = std::getenv("TARNWICK_EVERY_CALL") != nullptr ? 1 : 5;
    int number = 1;
    while (!HasFailure() && interrupt({number, "memory"})) {
        number += step;
    }
    EXPECT_GT(number, step);
    std::cout << operation.title << ": " << number / step << " allocations failed\n";
}

TEST_P(CrashTest, LeavesOnTheDiskWhatAPowerCutMayNotDestroy) {
    InterruptionWorld world(operation.original, operation.output);
    operation.prepare(world);
    const Trace trace = world.run(operation.command).trace;
    if (operation.command != "compress") {
        const URL file = operation.isOfMenus() ? world.menuFile() : world.file();
        const bool isWritten =
            operation.isOfMenus() || (operation.command == "restore" && !world.isConversion());
        EXPECT_EQ(powerCutFaults(trace, file.path(), {}).size(), isWritten ? 0U : 1U) << "is never written";
        return;
    }
    const auto record = onlyRecord(world.store());
    ASSERT_TRUE(record);
    const auto published = std::find_if(trace.begin(), trace.end(), [&](const TracedCall& call) {
        return call.destination.starts_with(world.store().root().path()) &&
               call.destination.ends_with(".json");
    });
    ASSERT_NE(published, trace.end());
    EXPECT_THAT(powerCutFaults(trace, world.resultFile().path(),
                               {world.store().backupURL(*record).path(), published->destination}),
                IsEmpty());
}

const Operation restoreARemovedFile = {"RestoreARemovedFile", "restore", "photo.png", "photo-small.png",
                                       [](const InterruptionWorld& world) {
                                           compressBefore(world);
                                           removeFile(world.file());
                                       }};

INSTANTIATE_TEST_SUITE_P(Operations, CrashTest, testing::ValuesIn(operations()),
                         [](const auto& instance) { return instance.param.title; });
INSTANTIATE_TEST_SUITE_P(Removed, CrashTest, testing::Values(restoreARemovedFile));

TEST(PowerCutTest, WouldNoticeWhatIsNotOnTheDisk) {
    const auto call = [](const char* name, const char* path, const char* destination = "") {
        return TracedCall{{name, path, destination}, true};
    };
    const Trace good = {call("write", "/a/tmp"), call("fsync", "/a/tmp"), call("rename", "/a/tmp", "/a/file"),
                        call("fsync", "/a")};
    EXPECT_THAT(powerCutFaults(good, "/a/file", {}), IsEmpty());
    for (const std::size_t missing : {std::size_t{1}, std::size_t{2}, std::size_t{3}}) {
        Trace bad = good;
        bad.erase(bad.begin() + static_cast<std::ptrdiff_t>(missing));
        EXPECT_EQ(powerCutFaults(bad, "/a/file", {}).size(), 1U) << missing;
    }
    Trace late = good;
    std::swap(late[0], late[1]);
    EXPECT_EQ(powerCutFaults(late, "/a/file", {}).size(), 1U);
}

} // namespace
} // namespace tarnwick::test
