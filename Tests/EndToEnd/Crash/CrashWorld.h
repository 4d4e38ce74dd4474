#pragma once

#include "CrashTrace.h"
#include "Foundation/WorkRegister.h"
#include "History/UndoStore.h"
#include "Support/FakeTools.h"
#include "Support/TemporaryFolder.h"

#include <string>

namespace tarnwick::test {

/// How the crash driver ended, and the calls that it made.
struct Outcome {
    bool isKilled = false;
    Trace trace;
};

/// A fresh copy of everything that one operation works on.
class CrashWorld {
public:
    /// Both name fixtures: the picture, and what each tool writes.
    CrashWorld(std::string original, const std::string& output);

    /// Runs the driver and kills it at the call of this number (0: never). Waits for everything that it
    /// started.
    Outcome run(const std::string& operation, int number, bool isBefore);

    URL file() const { return pictures_ / name_; }
    bool isConversion() const { return name_.ends_with(".heic"); }
    /// The location of the result.
    URL resultFile() const { return isConversion() ? pictures_ / "photo.png" : file(); }
    const URL& folder() const { return pictures_.url(); }
    const UndoStore& store() const { return store_; }
    WorkRegister workRegister() const { return WorkRegister(home_ / "data/Tarnwick/Work"); }

private:
    TemporaryFolder home_;
    TemporaryFolder pictures_;
    UndoStore store_{home_ / "data/Undo"};
    FakeTools tools_;
    std::string name_;
};

} // namespace tarnwick::test
