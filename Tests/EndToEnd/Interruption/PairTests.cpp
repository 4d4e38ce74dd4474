// Stops one operation before each of its system calls, lets another operation or program act, and continues.

#include "Foundation/Text.h"
#include "History/Leftovers.h"
#include "InterruptionWorld.h"
#include "Support/Pictures.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <optional>
#include <vector>

namespace tarnwick::test {
namespace {

namespace fs = std::filesystem;

/// With TARNWICK_EVERY_CALL set, each operation is stopped before every call, else before this many.
constexpr int sampledCalls = 8;

const std::string edited = "another program's";
const std::string editedMenu = "<actions>\n<action><name>" + edited + "</name></action>\n</actions>\n";

URL renamed(const InterruptionWorld& world) {
    return URL::file(world.folder().path() + "-renamed");
}

/// Another program, or one of ours, which has a command instead of a function. The file is the picture, or
/// the result where the picture was converted.
struct Other {
    std::string title;
    std::function<void(const InterruptionWorld&, const URL&)> act = {};

    bool isOurs() const { return !act; }
};

void replaceByRename(const URL& file, const std::string& text) {
    const URL other = file.deletingLastPathComponent().appending("other");
    writeFile(other, bytesOf(text));
    atomicRename(other, file);
}

const Other ours[] = {{"compress"}, {"restore"},  {"delete"}, {"clear"},
                      {"maintain"}, {"register"}, {"enable"}, {"disable"}};
const Other others[] = {
    {"edit in place", [](const auto& /*world*/, const URL& file) { writeFile(file, bytesOf(edited)); }},
    {"edit of the original",
     [](const auto& world, const URL& /*file*/) { replaceByRename(world.file(), edited); }},
    {"remove", [](const auto& /*world*/, const URL& file) { removeFile(file); }},
    {"replaced by a link",
     [](const auto& world, const URL& file) {
         atomicRename(file, world.folder().deletingLastPathComponent().appending("moved"));
         fs::create_symlink("../moved", file.path());
     }},
    {"replaced by a folder",
     [](const auto& /*world*/, const URL& file) {
         removeFile(file);
         createDirectories(file);
     }},
    {"mode changed", [](const auto& /*world*/, const URL& file) { ::chmod(file.c_str(), 0640); }},
    {"folder renamed", [](const auto& world,
                          const URL& /*file*/) { fs::rename(world.folder().path(), renamed(world).path()); }},
    {"menu edited",
     [](const auto& world, const URL& /*file*/) { replaceByRename(world.menuFile(), editedMenu); }}};

int waitFor(pid_t process) {
    int status = 0;
    ::waitpid(process, &status, WUNTRACED);
    return status;
}

/// Continues the process until it ends.
int finish(pid_t process) {
    int status = 0;
    do {
        ::kill(process, SIGCONT);
        status = waitFor(process);
    } while (WIFSTOPPED(status));
    return status;
}

/// The original must be in place, or a record must be able to restore it.
bool isOriginalSafe(const InterruptionWorld& world, const std::string& original) {
    for (const UndoRecord& record : world.store().readRecords()) {
        const URL backup = world.store().backupURL(record);
        if (record.state == UndoRecord::State::committed && textOf(backup) == original) {
            return true;
        }
    }
    return textOf(world.file()) == original;
}

/// What another program did must be as it did it.
void expectKept(const InterruptionWorld& world, const std::string& other, const std::string& original) {
    const std::string text = textOf(world.resultFile());
    if (other.starts_with("edit ")) {
        EXPECT_TRUE(text == edited || textOf(world.file()) == edited) << "another program's bytes are lost";
    } else if (other == "remove") {
        EXPECT_TRUE(textOf(world.file()).empty() || textOf(world.file()) == original);
    }
    EXPECT_TRUE(other != "menu edited" || textOf(world.menuFile()).find(edited) != std::string::npos);
}

class PairTest : public testing::TestWithParam<Operation> {
protected:
    void expectNothingIsLost(const InterruptionWorld& world, const Other& other, const std::string& error,
                             bool hasWaited, bool wasCommitted) const {
        if (!other.isOurs()) {
            expectKept(world, other.title, original);
            const bool hasMode = modeOfFile(world.file(), 0) == 0640U;
            EXPECT_TRUE(other.title != "mode changed" || first.command != "compress" || hasMode);
        } else if (!first.isForgetting() && other.title != "clear" && other.title != "delete") {
            EXPECT_TRUE(isOriginalSafe(world, original)) << "the original is lost";
        } else {
            EXPECT_NE(textOf(world.file()), "");
        }
        if (other.isOurs() && !hasWaited && first.command == "compress" && other.title != "compress") {
            const bool isReplaced = textOf(world.resultFile()) != original && itemExists(world.resultFile());
            EXPECT_EQ(isReplaced, error.empty()) << error;
            EXPECT_TRUE(!isReplaced || wasCommitted || isOriginalSafe(world, original))
                << "the original is lost";
        }
        const std::string stem = world.file().stem();
        expectNothingBeside(world.folder(), stem);
        if (first.command != "maintain") {
            // A sweep cannot find what a killed process left in a folder that has another name now.
            expectNothingBeside(renamed(world), stem);
        }
        if (first.isOfMenus()) {
            expectMenusAreWhole(world, true);
        }
        EXPECT_THAT(removeLeftovers(world.store(), world.workRegister()).problems, testing::IsEmpty());
        for (const UndoRecord& record : world.store().readRecords()) {
            EXPECT_EQ(record.state, UndoRecord::State::committed) << error;
            EXPECT_TRUE(textOf(world.store().backupURL(record)) == original);
        }
    }

    /// Returns whether the other had to wait; nothing when the operation ends before this call.
    std::optional<bool> interleave(int number, const Other& other) const {
        SCOPED_TRACE(first.title + " stopped before call " + std::to_string(number) + ", then " +
                     other.title);
        const InterruptionWorld world(first.original, first.output);
        first.prepare(world);
        const pid_t process = world.start(first.command, {number, "stop"}, "first");
        int status = waitFor(process);
        if (!WIFSTOPPED(status)) {
            return std::nullopt;
        }
        // From then on, clearing the history may forget the original.
        const auto records = world.store().records();
        const bool wasCommitted = !records.empty() && records[0].state == UndoRecord::State::committed;
        bool hasWaited = false;
        if (other.isOurs()) {
            const pid_t second = world.start(other.title, {}, "second");
            hasWaited = WIFSTOPPED(waitFor(second));
            status = finish(process);
            if (hasWaited) {
                world.outcome("second", finish(second));
            }
        } else {
            const URL file = isRegularFile(world.resultFile()) ? world.resultFile() : world.file();
            other.act(world, first.command == "compress" ? world.file() : file);
            status = finish(process);
        }
        expectNothingIsLost(world, other, world.outcome("first", status).error, hasWaited, wasCommitted);
        return hasWaited;
    }

    int countCalls() const {
        const InterruptionWorld world(first.original, first.output);
        first.prepare(world);
        return static_cast<int>(world.run(first.command, {0, "list"}).trace.size());
    }

    const Operation first = GetParam();
    const std::string original = pictureText(first.original);
};

TEST_P(PairTest, LosesNothingWhateverActsBeforeACall) {
    const bool isWhole = std::getenv("TARNWICK_EVERY_CALL") != nullptr;
    const int calls = countCalls();
    const int step = isWhole ? 1 : std::max(1, calls / sampledCalls);
    int start = 0;
    std::vector<Other> all(std::begin(ours), std::end(ours));
    all.insert(all.end(), std::begin(others), std::end(others));
    for (const Other& other : all) {
        start += 7;
        int tried = 0;
        int waits = 0;
        for (int number = 1 + start % step; number <= calls && !HasFailure(); number += step) {
            const auto hasWaited = interleave(number, other);
            tried += hasWaited ? 1 : 0;
            waits += hasWaited.value_or(false) ? 1 : 0;
        }
        std::cout << first.title << " | " << other.title << " | " << tried << " calls | " << waits
                  << " waits | " << (HasFailure() ? "FINDING" : "no finding") << std::endl;
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, PairTest, testing::ValuesIn(operations()),
                         [](const auto& instance) { return instance.param.title; });

} // namespace
} // namespace tarnwick::test
