#pragma once

#include "Foundation/WorkRegister.h"
#include "History/UndoStore.h"
#include "Support/FakeTools.h"
#include "Support/TemporaryFolder.h"
#include "Trace.h"

#include <sys/types.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace tarnwick::test {

/// Where and how a process is interrupted; see InterruptionDriver.cpp.
struct Interruption {
    int number = 0;
    std::string how = "kill-before";
};

/// How a process ended, and the calls that it made.
struct Outcome {
    bool isKilled = false;
    /// The text of the error; empty after success.
    std::string error;
    Trace trace;
};

/// A fresh copy of everything that operations work on: a picture, a store, tools, and a user's home.
class InterruptionWorld {
public:
    /// Both name fixtures: the picture, and what each tool writes.
    InterruptionWorld(std::string original, const std::string& output);

    /// Runs the operation to its end. Waits for everything that it started.
    Outcome run(const std::string& operation, const Interruption& interruption = {}) const;
    /// Starts the operation in a process of its own. `name` distinguishes processes that run at once.
    pid_t start(const std::string& operation, const Interruption& interruption,
                const std::string& name) const;
    /// What a started process wrote before it ended with this status.
    Outcome outcome(const std::string& name, int status) const;

    URL file() const { return pictures_.appending(name_); }
    bool isConversion() const { return name_.ends_with(".heic"); }
    /// The location of the result.
    URL resultFile() const { return isConversion() ? pictures_.appending("photo.png") : file(); }
    URL menuFile() const { return home_ / "config/Thunar/uca.xml"; }
    const URL& folder() const { return pictures_; }
    const UndoStore& store() const { return store_; }
    WorkRegister workRegister() const { return WorkRegister(home_ / "data/Tarnwick/Work"); }

private:
    TemporaryFolder home_;
    TemporaryFolder parent_;
    URL pictures_ = parent_ / "pictures";
    UndoStore store_{home_ / "data/Undo"};
    FakeTools tools_;
    std::string name_;
};

/// An operation to interrupt.
struct Operation {
    std::string title;
    /// Its name for the driver.
    std::string command;
    /// The fixtures of the picture and of what each tool writes.
    std::string original;
    std::string output;
    /// What precedes it.
    std::function<void(const InterruptionWorld&)> prepare = [](const InterruptionWorld& /*world*/) {};

    bool isForgetting() const { return command == "delete" || command == "clear"; }
    bool isOfMenus() const { return command == "register" || command.ends_with("able"); }
};

void PrintTo(const Operation& operation, std::ostream* stream);

/// The rows of every table.
std::vector<Operation> operations();
void compressBefore(const InterruptionWorld& world);

/// The file's bytes; none unless it is a regular file.
std::string textOf(const URL& file);
/// Every name in the folder, if there is one, begins with the stem.
void expectNothingBeside(const URL& folder, const std::string& stem);
/// Thunar's file and the registry can be read, so that the extension can be registered. `isTidy` if nothing
/// may be beside Thunar's file.
void expectMenusAreWhole(const InterruptionWorld& world, bool isTidy);

} // namespace tarnwick::test
