#pragma once

#include "Support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace tarnwick::test {

/// A folder with a fake of each of the five tools and of pluginkit, and the scripts that tell them what to do
/// (the commands stand in FakeTool.cpp). A run without a script fails with the status 99.
class FakeTools {
public:
    using Words = std::vector<std::string>;
    /// A command and its words for each line.
    using Script = std::vector<Words>;

    FakeTools();

    const URL& folder() const { return folder_.url(); }
    void remove(const std::string& tool) const;
    /// What the tool does at every run that has no script of its own.
    void script(const std::string& tool, const Script& script) const;
    /// What it does at the runs of which an argument contains `word`: the way to script runs side by side,
    /// which come in any order.
    void scriptFor(const std::string& word, const std::string& tool, const Script& script) const;
    /// What it does at its run of this number, from 1 on.
    void scriptRun(int run, const std::string& tool, const Script& script) const;
    /// The scorer's answers from its next run on, one a run; the last one stands for all further runs too.
    void scores(const std::vector<std::string>& scores) const;

    /// All runs in their order: the tool's name and then its arguments.
    std::vector<Words> runs() const;
    /// The arguments of each run of one tool.
    std::vector<Words> runs(const std::string& tool) const;
    /// The names of the tools run, in their order.
    Words order() const;

private:
    TemporaryFolder folder_;
};

} // namespace tarnwick::test
