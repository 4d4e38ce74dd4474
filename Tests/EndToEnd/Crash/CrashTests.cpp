#include "CrashTrace.h"
#include "CrashWorld.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "History/Leftovers.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <iostream>

namespace tarnwick::test {
namespace {

using testing::IsEmpty;

/// Checks what a crash left, and describes it.
using Check = std::function<std::string(const CrashWorld&, const Pictures&)>;

std::string found(const URL& file) {
    return itemExists(file) ? contents(file) : "";
}

/// The only record in the history, if any. Reading fails when a record is incomplete.
std::optional<UndoRecord> onlyRecord(const UndoStore& store) {
    const auto records = store.readRecords();
    EXPECT_LE(records.size(), 1U);
    return records.empty() ? std::nullopt : std::optional(records.front());
}

/// A result may exist only if its original can be restored. Restores it.
void expectRestorable(const CrashWorld& world) {
    const UndoStore store = world.store();
    const auto record = onlyRecord(store);
    ASSERT_TRUE(record) << "the record is lost";
    EXPECT_EQ(hash(world.resultFile()), record->replacementHash);
    EXPECT_TRUE(contents(store.backupURL(*record)) == world.original());
    store.restore(*record);
    EXPECT_TRUE(found(world.file()) == world.original());
    EXPECT_THAT(store.records(), IsEmpty());
}

/// The record of a compression that changed nothing must not endanger the file.
std::string checkUnusedRecord(const CrashWorld& world) {
    const auto record = onlyRecord(world.store());
    if (!record) {
        return "the original";
    }
    try {
        world.store().restore(*record);
    } catch (const CompressionError& error) {
        // Refused: a backup without its record, a record without its backup, a file that is no result.
        EXPECT_FALSE(error.errorDescription().empty());
    }
    EXPECT_TRUE(found(world.file()) == world.original());
    return "the original and an unused record";
}

std::string checkReplaced(const CrashWorld& world, const Pictures& pictures) {
    const std::string bytes = found(world.file());
    if (bytes == world.original()) {
        return checkUnusedRecord(world);
    }
    EXPECT_TRUE(bytes == pictures.result) << "the picture is damaged";
    expectRestorable(world);
    return "the result; its original was restored";
}

std::string checkConverted(const CrashWorld& world, const Pictures& pictures) {
    EXPECT_TRUE(found(world.file()) == world.original()) << "the HEIC file was touched";
    if (!itemExists(world.resultFile())) {
        return checkUnusedRecord(world);
    }
    EXPECT_TRUE(contents(world.resultFile()) == pictures.result) << "the PNG is damaged";
    expectRestorable(world);
    EXPECT_FALSE(itemExists(world.resultFile()));
    return "the original and the PNG, which was taken back";
}

/// For a picture that another program had removed: it is complete, or can still be restored.
std::string checkReturned(const CrashWorld& world, const Pictures& /*pictures*/) {
    if (itemExists(world.file())) {
        EXPECT_TRUE(found(world.file()) == world.original()) << "the picture is damaged";
        return checkUnusedRecord(world);
    }
    const auto record = onlyRecord(world.store());
    EXPECT_TRUE(record) << "the record is lost";
    if (record) {
        world.store().restore(*record);
    }
    EXPECT_TRUE(found(world.file()) == world.original());
    return "nothing yet; the original was restored";
}

/// What the helper does when it starts.
void tidy(const CrashWorld& world) {
    const LeftoversReport leftovers = removeLeftovers(world.store(), world.workRegister());
    EXPECT_THAT(leftovers.problems, IsEmpty());
    EXPECT_FALSE(leftovers.isIncomplete);
    EXPECT_THAT(world.leftovers(), testing::Not(testing::HasSubstr("#")));
    for (const UndoRecord& record : world.store().readRecords()) {
        EXPECT_EQ(record.state, UndoRecord::State::committed);
        EXPECT_THAT(entries(world.store().root().appending(record.sessionID.text())).size(), testing::Le(2U));
    }
}

struct Operation {
    std::string title;
    std::string command;
    Pictures pictures;
    Check check;
    std::function<void(CrashWorld&)> prepare = [](CrashWorld&) {};
};

void beginCompressed(CrashWorld& world) {
    world.beginCompressed();
}

void beginRemoved(CrashWorld& world) {
    world.beginCompressed();
    removeFile(world.file());
}

std::vector<Operation> operations() {
    const Pictures png = {"photo.png", "photo.png", "photo-small.png"};
    const Pictures jpeg = {"photo.jpg", "noise-turned.jpg", "noise-small.jpg"};
    const Pictures gif = {"photo.gif", "animation-2.gif", "animation-2-small.gif"};
    const Pictures heic = {"photo.heic", "photo.heic", ""};
    return {{"CompressAPNG", "compress", png, checkReplaced},
            {"CompressAJPEG", "compress", jpeg, checkReplaced},
            {"CompressAGIF", "compress", gif, checkReplaced},
            {"ConvertAHEIC", "compress", heic, checkConverted},
            {"Restore", "restore", png, checkReplaced, beginCompressed},
            {"RestoreARemovedFile", "restore", png, checkReturned, beginRemoved},
            {"RestoreAConversion", "restore", heic, checkConverted, beginCompressed}};
}

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.title;
}

class CrashTest : public testing::TestWithParam<Operation> {};

/// The result of an uninterrupted operation.
std::string uninterruptedResult(const Pictures& pictures) {
    CrashWorld world(pictures);
    world.beginCompressed();
    return contents(world.resultFile());
}

void printKillPoint(const Operation& operation, const CrashWorld& world, int number, bool isBefore,
                    const TracedCall& call, const std::string& leftovers, const std::string& what) {
    const std::string target = call.destination.empty() ? "" : " → " + world.shortened(call.destination);
    std::cout << fmt::format("{} | {:3} | {:6} | {} {}{} | {} | folder:{}\n", operation.title, number,
                             isBefore ? "before" : "after", call.name, world.shortened(call.path), target,
                             what, leftovers);
}

/// Returns false when the operation makes fewer calls.
bool crash(const Operation& operation, const Pictures& pictures, int number, bool isBefore) {
    CrashWorld world(pictures);
    operation.prepare(world);
    const Outcome outcome = world.run(operation.command, number, isBefore);
    if (!outcome.isKilled) {
        EXPECT_EQ(outcome.trace.size(), static_cast<std::size_t>(number - 1));
        return false;
    }
    EXPECT_EQ(outcome.trace.size(), static_cast<std::size_t>(number));
    const std::string leftovers = world.leftovers();
    // The state after a call equals the state before the next call, so both ways are tested on it.
    if (!isBefore) {
        tidy(world);
    }
    const std::string what = operation.check(world, pictures);
    printKillPoint(operation, world, number, isBefore, outcome.trace.back(), leftovers, what);
    return true;
}

TEST_P(CrashTest, LosesNothingWhereverItHappens) {
    const Operation& operation = GetParam();
    Pictures pictures = operation.pictures;
    pictures.result = uninterruptedResult(pictures);
    int number = 1;
    while (crash(operation, pictures, number, true) && crash(operation, pictures, number, false)) {
        ASSERT_FALSE(HasFailure()) << "at call " << number;
        ++number;
    }
    EXPECT_GT(number, 4);
}

INSTANTIATE_TEST_SUITE_P(Operations, CrashTest, testing::ValuesIn(operations()),
                         [](const auto& instance) { return instance.param.title; });

std::string publishedRecord(const CrashWorld& world, const Trace& trace) {
    const auto call = std::find_if(trace.begin(), trace.end(), [&](const TracedCall& traced) {
        return traced.destination.starts_with(world.store().root().path()) &&
               traced.destination.ends_with(".json");
    });
    return call == trace.end() ? "no record" : call->destination;
}

TEST(PowerCutTest, FindsTheResultTheBackupAndTheRecordOnTheDisk) {
    for (const Operation& operation : operations()) {
        if (operation.command != "compress") {
            continue;
        }
        CrashWorld world(operation.pictures);
        const Trace trace = world.run("compress", 0, true).trace;
        const auto record = onlyRecord(world.store());
        ASSERT_TRUE(record);
        EXPECT_THAT(powerCutFaults(trace, world.resultFile().path(),
                                   {world.store().backupURL(*record).path(), publishedRecord(world, trace)}),
                    IsEmpty());
    }
}

TEST(PowerCutTest, FindsTheRestoredOriginalOnTheDiskBeforeItsBackupGoes) {
    for (const auto& prepare : {beginCompressed, beginRemoved}) {
        CrashWorld world(operations().front().pictures);
        prepare(world);
        EXPECT_THAT(powerCutFaults(world.run("restore", 0, true).trace, world.file().path(), {}), IsEmpty());
    }
}

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
