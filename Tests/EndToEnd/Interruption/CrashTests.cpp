#include "Foundation/CompressionError.h"
#include "History/Leftovers.h"
#include "InterruptionWorld.h"
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

struct Operation {
    std::string title;
    std::string command;
    /// The fixtures of the picture and of what each tool writes.
    std::string original;
    std::string output;
    /// Whether another program removed the picture before it is restored.
    bool isRemoved = false;
};

const Operation operations[] = {{"CompressAPNG", "compress", "photo.png", "photo-small.png"},
                                {"CompressAJPEG", "compress", "noise-turned.jpg", "noise-small.jpg"},
                                {"CompressAGIF", "compress", "animation-2.gif", "animation-2-small.gif"},
                                {"ConvertAHEIC", "compress", "photo.heic", ""},
                                {"Restore", "restore", "photo.png", "photo-small.png"},
                                {"RestoreARemovedFile", "restore", "photo.png", "photo-small.png", true},
                                {"RestoreAConversion", "restore", "photo.heic", ""}};

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.title;
}

/// The only record in the history, if any. Reading fails when a record is incomplete.
std::optional<UndoRecord> onlyRecord(const UndoStore& store) {
    const auto records = store.readRecords();
    EXPECT_LE(records.size(), 1U);
    return records.empty() ? std::nullopt : std::optional(records.front());
}

class CrashTest : public testing::TestWithParam<Operation> {
protected:
    /// Does what precedes the operation.
    void prepare(InterruptionWorld& world) const {
        if (operation.command == "restore") {
            world.run("compress");
        }
        if (operation.isRemoved) {
            removeFile(world.file());
        }
    }
    std::string uninterruptedResult() const {
        InterruptionWorld world(operation.original, operation.output);
        world.run("compress");
        return contents(world.resultFile());
    }
    bool isUnchanged(const InterruptionWorld& world) const;
    void expectUnusedRecordIsHarmless(const InterruptionWorld& world) const;
    void expectRestorable(const InterruptionWorld& world) const;
    void expectNothingIsLost(const InterruptionWorld& world) const;
    bool interrupt(const Interruption& interruption) const;

    const Operation operation = GetParam();
    const std::string original = pictureText(operation.original);
    const std::string result = uninterruptedResult();
};

/// Whether the folder is as it was before the picture was compressed.
bool CrashTest::isUnchanged(const InterruptionWorld& world) const {
    return world.isConversion() ? !itemExists(world.resultFile())
                                : itemExists(world.file()) && contents(world.file()) == original;
}

/// A record that remains while the folder is unchanged must not endanger the file.
void CrashTest::expectUnusedRecordIsHarmless(const InterruptionWorld& world) const {
    if (const auto record = onlyRecord(world.store())) {
        try {
            world.store().restore(*record);
        } catch (const CompressionError& error) {
            // Refused: a backup without its record, a record without its backup, a file that is no result.
            EXPECT_FALSE(error.errorDescription().empty());
        }
    }
}

/// A result may exist only if its original can be restored. Restores it.
void CrashTest::expectRestorable(const InterruptionWorld& world) const {
    const UndoStore& store = world.store();
    const auto record = onlyRecord(store);
    ASSERT_TRUE(record) << "the record is lost";
    EXPECT_TRUE(contents(store.backupURL(*record)) == original);
    store.restore(*record);
    EXPECT_THAT(store.records(), IsEmpty());
}

void CrashTest::expectNothingIsLost(const InterruptionWorld& world) const {
    if (world.isConversion()) {
        EXPECT_TRUE(contents(world.file()) == original) << "the HEIC file was touched";
    }
    if (isUnchanged(world)) {
        expectUnusedRecordIsHarmless(world);
    } else {
        if (itemExists(world.resultFile()) || !operation.isRemoved) {
            EXPECT_TRUE(contents(world.resultFile()) == result) << "the picture is damaged";
        }
        expectRestorable(world);
    }
    EXPECT_TRUE(contents(world.file()) == original);
    EXPECT_TRUE(isUnchanged(world));
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

/// Returns false when the operation makes fewer calls.
bool CrashTest::interrupt(const Interruption& interruption) const {
    InterruptionWorld world(operation.original, operation.output);
    prepare(world);
    const Outcome outcome = world.run(operation.command, interruption);
    const bool isFault = !interruption.how.starts_with("kill");
    const bool isInterrupted = isFault ? !outcome.trace.empty() : outcome.isKilled;
    if (isInterrupted) {
        const TracedCall& call = outcome.trace.back();
        SCOPED_TRACE(interruption.how + " " + std::to_string(interruption.number) + " " + call.name + " " +
                     call.path + " " + call.destination + " " + outcome.error);
        // The state after a call equals the state before the next call, so both ways are tested on it.
        if (interruption.how != "kill-before") {
            tidy(world);
        }
        expectNothingIsLost(world);
    }
    return isInterrupted;
}

TEST_P(CrashTest, LosesNothingWhereverItHappens) {
    int number = 1;
    while (interrupt({number, "kill-before"}) && interrupt({number, "kill-after"})) {
        ASSERT_FALSE(HasFailure()) << "at call " << number;
        ++number;
    }
    EXPECT_GT(number, 4);
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
    EXPECT_GT(number, 20);
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
    prepare(world);
    const Trace trace = world.run(operation.command).trace;
    if (operation.command == "restore") {
        const std::size_t faults = powerCutFaults(trace, world.file().path(), {}).size();
        EXPECT_EQ(faults, world.isConversion() ? 1U : 0U) << "a HEIC file is never written";
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

INSTANTIATE_TEST_SUITE_P(Operations, CrashTest, testing::ValuesIn(operations),
                         [](const auto& instance) { return instance.param.title; });

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
