#pragma once

#include "CrashTrace.h"
#include "Foundation/WorkRegister.h"
#include "History/UndoStore.h"
#include "Support/FakeTools.h"
#include "Support/TemporaryFolder.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::test {

/// The files that a picture of each kind begins with, and what the tools make of it.
struct Pictures {
    std::string name;
    Bytes original;
    /// What each tool puts out.
    Bytes output;
    /// What takes the original's place, or stands beside it as a PNG. Known after a whole operation.
    std::string result = {};

    static Pictures png();
    static Pictures jpeg();
    static Pictures gif();
    static Pictures heic();
};

/// How the crash driver ended, and what it had done until then.
struct Outcome {
    bool isKilled = false;
    Trace trace;
};

/// Fresh copies of everything that one operation works on.
class CrashWorld {
public:
    explicit CrashWorld(const Pictures& pictures);

    /// Puts a finished compression or conversion there.
    void beginCompressed();
    /// Runs the driver, killed at the call of this number (0: not at all), and waits for all that it started.
    Outcome run(const std::string& operation, int number, bool isBefore);

    URL file() const { return pictures_ / name_; }
    /// The name at which the result appears.
    URL resultFile() const;
    UndoStore store() const { return UndoStore(home_ / "data/Undo"); }
    WorkRegister workRegister() const { return WorkRegister(home_ / "data/Tarnwick/Work"); }
    std::string original() const { return original_; }
    /// What the user finds: the picture, and everything else in its folder with unique names shortened.
    std::string leftovers() const;
    /// A path without what differs from run to run.
    std::string shortened(const std::string& path) const;

private:
    TemporaryFolder home_;
    TemporaryFolder pictures_;
    FakeTools tools_;
    std::string name_;
    std::string original_;
    std::string output_;
};

} // namespace tarnwick::test
