#pragma once

#include "Support/EnvironmentVariable.h"
#include "Support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace tarnwick::test {

/// A folder with a fake of each of the five tools and of pluginkit, and their scripts (FakeTool.cpp has the
/// commands). A run without a script fails with status 99. The tools of the process run without a cage, since
/// a fake reads its script and writes wherever the test wants.
class FakeTools {
public:
    using Words = std::vector<std::string>;
    /// Each line is a command with its words.
    using Script = std::vector<Words>;

    FakeTools();

    const URL& folder() const { return folder_.url(); }
    void remove(const std::string& tool) const;
    /// Replaces the tool's link by a copy, and opens the folder, for users who cannot reach the build folder.
    void makeReachable(const std::string& tool) const;
    /// The script of every run without a script of its own.
    void script(const std::string& tool, const Script& script) const;
    /// The script of the runs with an argument that contains `word`, for parallel runs, whose order is open.
    void scriptFor(const std::string& word, const std::string& tool, const Script& script) const;
    /// The script of the run with this number, counted from 1.
    void scriptRun(int run, const std::string& tool, const Script& script) const;
    /// The scorer's output in its next runs; the last score is repeated.
    void scores(const std::vector<std::string>& scores) const;

    /// All runs in order: the tool's name, then its arguments.
    std::vector<Words> runs() const;
    /// The arguments of each run of one tool.
    std::vector<Words> runs(const std::string& tool) const;

private:
    TemporaryFolder folder_;
    EnvironmentVariable cage_{"TARNWICK_TOOL_CAGE", "off"};
};

} // namespace tarnwick::test
