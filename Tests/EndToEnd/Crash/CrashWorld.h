#pragma once

#include "CrashTrace.h"
#include "Foundation/WorkRegister.h"
#include "History/UndoStore.h"
#include "Support/FakeTools.h"
#include "Support/TemporaryFolder.h"

#include <optional>
#include <string>
#include <vector>

namespace tarnwick::test {

/// What one operation works on; `original` and `output` name fixtures.
struct Pictures {
    std::string name;
    std::string original;
    /// What each tool writes.
    std::string output;
    /// The bytes that replace the original, or of the new PNG. Known after a complete operation.
    std::string result = {};
};

/// How the crash driver ended, and the calls that it made.
struct Outcome {
    bool isKilled = false;
    Trace trace;
};

/// A fresh copy of everything that one operation works on.
class CrashWorld {
public:
    explicit CrashWorld(const Pictures& pictures);

    /// Starts from a complete compression or conversion.
    void beginCompressed();
    /// Runs the driver and kills it at the call of this number (0: never). Waits for everything that it
    /// started.
    Outcome run(const std::string& operation, int number, bool isBefore);

    URL file() const { return pictures_ / name_; }
    /// The location of the result.
    URL resultFile() const;
    UndoStore store() const { return UndoStore(home_ / "data/Undo"); }
    WorkRegister workRegister() const { return WorkRegister(home_ / "data/Tarnwick/Work"); }
    std::string original() const { return original_; }
    /// The files in the folder of the picture, with unique names shortened.
    std::string leftovers() const;
    /// A path without the parts that differ between runs.
    std::string shortened(const std::string& path) const;

private:
    TemporaryFolder home_;
    TemporaryFolder pictures_;
    FakeTools tools_;
    std::string name_;
    std::string original_;
};

} // namespace tarnwick::test
