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

namespace tarnwick::test {
namespace {

namespace fs = std::filesystem;

/// With TARNWICK_EVERY_CALL set, each operation is stopped before every call, else before this many.
constexpr int sampledCalls = 8;

struct First {
    std::string title;
    std::string command;
    std::string original;
    std::string output;
    /// What precedes it.
    std::function<void(const InterruptionWorld&)> prepare = [](const InterruptionWorld& /*world*/) {};
};

void PrintTo(const First& first, std::ostream* stream) {
    *stream << first.title;
}

void compressBefore(const InterruptionWorld& world) {
    ASSERT_EQ(world.run("compress").error, "");
}

/// Leaves a prepared record and a work folder.
void killCompression(const InterruptionWorld& world) {
    static int number = 1;
    while (world.run("compress", {number, "kill-after"}).isKilled && world.store().records().empty()) {
        ++number;
    }
}

const First firsts[] = {{"CompressAPNG", "compress", "photo.png", "photo-small.png"},
                        {"CompressAJPEG", "compress", "noise-turned.jpg", "noise-small.jpg"},
                        {"CompressAGIF", "compress", "animation-2.gif", "animation-2-small.gif"},
                        {"ConvertAHEIC", "compress", "photo.heic", ""},
                        {"Restore", "restore", "photo.png", "photo-small.png", compressBefore},
                        {"RestoreAConversion", "restore", "photo.heic", "", compressBefore},
                        {"Delete", "delete", "photo.png", "photo-small.png", compressBefore},
                        {"Clear", "clear", "photo.png", "photo-small.png", compressBefore},
                        {"Maintain", "maintain", "photo.png", "photo-small.png", compressBefore},
                        {"Sweep", "maintain", "photo.png", "photo-small.png", killCompression},
                        {"EnableAMenu", "enable", "photo.png", "photo-small.png"},
                        {"DisableAMenu", "disable", "photo.png", "photo-small.png",
                         [](const InterruptionWorld& world) { ASSERT_EQ(world.run("enable").error, ""); }}};

const std::string edited = "another program's";
const std::string editedMenu = "<actions>\n<action><name>" + edited + "</name></action>\n</actions>\n";

URL renamed(const InterruptionWorld& world) {
    return URL::file(world.folder().path() + "-renamed");
}

/// Another program. The file is the picture, or the result where the picture was converted.
struct OtherProgram {
    std::string title;
    std::function<void(const InterruptionWorld&, const URL&)> act;
};

void replaceByRename(const URL& file, const std::string& text) {
    const URL other = file.deletingLastPathComponent().appending("other");
    writeFile(other, bytesOf(text));
    atomicRename(other, file);
}

const OtherProgram otherPrograms[] = {
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

const std::string commands[] = {"compress", "restore", "delete", "clear", "maintain", "enable", "disable"};

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

class PairTest : public testing::TestWithParam<First> {
protected:
    struct Counts {
        int calls = 0;
        int waits = 0;
    };

    /// Returns false when the operation ends before this call.
    bool interleave(int number, const std::string& title, Counts& counts) const;
    /// Tries calls of the operation, beginning with this one.
    void tryCalls(const std::string& title, int start) const;
    void expectNothingIsLost(const InterruptionWorld& world, const std::string& other, const Outcome& outcome,
                             bool hasWaited) const;
    int countCalls() const;

    const First first = GetParam();
    const std::string original = pictureText(first.original);
    const int calls = countCalls();
};

std::string textOf(const URL& file) {
    return isRegularFile(file) ? contents(file) : "";
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
    const std::string menu = textOf(world.menuFile());
    EXPECT_TRUE(menu.starts_with("<actions>\n") && menu.ends_with("</actions>\n")) << menu;
    EXPECT_TRUE(other != "menu edited" || menu.find(edited) != std::string::npos) << menu;
}

void expectNothingBeside(const URL& folder, const std::string& stem) {
    for (const URL& item : itemExists(folder) ? entries(folder) : std::vector<URL>()) {
        EXPECT_THAT(item.lastPathComponent(), testing::StartsWith(stem));
    }
}

void PairTest::expectNothingIsLost(const InterruptionWorld& world, const std::string& other,
                                   const Outcome& outcome, bool hasWaited) const {
    const bool isOurs = std::find(std::begin(commands), std::end(commands), other) != std::end(commands);
    const auto isForgetting = [](const std::string& name) { return name == "clear" || name == "delete"; };
    if (!isOurs) {
        expectKept(world, other, original);
        const bool hasMode = modeOfFile(world.file(), 0) == 0640U;
        EXPECT_TRUE(other != "mode changed" || first.command != "compress" || hasMode);
    } else if (!isForgetting(first.command) && !isForgetting(other)) {
        EXPECT_TRUE(isOriginalSafe(world, original)) << "the original is lost";
    } else {
        EXPECT_NE(textOf(world.file()), "");
    }
    if (isOurs && !hasWaited && first.command == "compress" && other != "compress") {
        const bool isReplaced = textOf(world.resultFile()) != original && itemExists(world.resultFile());
        EXPECT_EQ(isReplaced, outcome.error.empty()) << outcome.error;
        EXPECT_TRUE(!isReplaced || isOriginalSafe(world, original)) << "the original is lost";
    }
    const std::string stem = world.file().stem();
    expectNothingBeside(world.folder(), stem);
    if (first.title != "Sweep") {
        // A sweep cannot find what a killed process left in a folder that has another name now.
        expectNothingBeside(renamed(world), stem);
    }
    EXPECT_THAT(removeLeftovers(world.store(), world.workRegister()).problems, testing::IsEmpty());
    for (const UndoRecord& record : world.store().readRecords()) {
        EXPECT_EQ(record.state, UndoRecord::State::committed) << outcome.error;
        EXPECT_TRUE(textOf(world.store().backupURL(record)) == original);
    }
}

bool PairTest::interleave(int number, const std::string& title, Counts& counts) const {
    const InterruptionWorld world(first.original, first.output);
    first.prepare(world);
    const pid_t process = world.start(first.command, {number, "stop"}, "first");
    int status = waitFor(process);
    if (!WIFSTOPPED(status)) {
        return false;
    }
    SCOPED_TRACE(first.title + " stopped before call " + std::to_string(number) + ", then " + title);
    bool hasWaited = false;
    const auto* const program = std::find_if(std::begin(otherPrograms), std::end(otherPrograms),
                                             [&](const OtherProgram& other) { return other.title == title; });
    if (program != std::end(otherPrograms)) {
        const URL file = isRegularFile(world.resultFile()) ? world.resultFile() : world.file();
        program->act(world, first.command == "compress" ? world.file() : file);
        status = finish(process);
    } else {
        const pid_t second = world.start(title, {}, "second");
        hasWaited = WIFSTOPPED(waitFor(second));
        status = finish(process);
        if (hasWaited) {
            world.outcome("second", finish(second));
        }
    }
    expectNothingIsLost(world, title, world.outcome("first", status), hasWaited);
    counts.calls += 1;
    counts.waits += hasWaited ? 1 : 0;
    return true;
}

int PairTest::countCalls() const {
    const InterruptionWorld world(first.original, first.output);
    first.prepare(world);
    return static_cast<int>(world.run(first.command, {0, "list"}).trace.size());
}

void PairTest::tryCalls(const std::string& title, int start) const {
    const bool isWhole = std::getenv("TARNWICK_EVERY_CALL") != nullptr;
    const int step = isWhole ? 1 : std::max(1, calls / sampledCalls);
    Counts counts;
    for (int number = 1 + (isWhole ? 0 : start % step); number <= calls && !HasFailure(); number += step) {
        interleave(number, title, counts);
    }
    std::cout << first.title << " | " << title << " | " << counts.calls << " calls | " << counts.waits
              << " waits | " << (HasFailure() ? "FINDING" : "no finding") << std::endl;
}

TEST_P(PairTest, LosesNothingWhateverActsBeforeACall) {
    int start = 0;
    for (const std::string& command : commands) {
        tryCalls(command, start += 7);
    }
    for (const OtherProgram& other : otherPrograms) {
        tryCalls(other.title, start += 7);
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, PairTest, testing::ValuesIn(firsts),
                         [](const auto& instance) { return instance.param.title; });

} // namespace
} // namespace tarnwick::test
