#include "Trace.h"

#include "Support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace tarnwick::test {
namespace {

std::string folderOf(const std::string& path) {
    return std::filesystem::path(path).parent_path().native();
}

bool isRename(const SystemCall& call) {
    return call.name == "rename" || call.name == "renameat2" || call.name == "link";
}

/// Whether the call changes the file's bytes or attributes.
bool changes(const SystemCall& call, const std::string& file) {
    const bool isCopy = call.name == "copy_file_range" || call.name.ends_with("_copy_file");
    return (isCopy ? call.destination : call.path) == file && call.name != "fsync" && !isRename(call);
}

bool isSync(const TracedCall& call, const std::string& path) {
    return call.name == "fsync" && call.path == path && call.isDone;
}

bool isSynced(const Trace& trace, std::size_t from, std::size_t to, const std::string& path) {
    return std::any_of(trace.begin() + static_cast<std::ptrdiff_t>(from),
                       trace.begin() + static_cast<std::ptrdiff_t>(to),
                       [&](const TracedCall& call) { return isSync(call, path); });
}

/// The index after the last call before `end` that fits; 0 when none does.
template <typename Fits>
std::size_t afterLast(const Trace& trace, std::size_t end, Fits fits) {
    while (end > 0 && !fits(trace[end - 1])) {
        --end;
    }
    return end;
}

/// The index of the call that gives a file this name; the trace's size when there is none.
std::size_t publication(const Trace& trace, const std::string& name) {
    const auto found = std::find_if(trace.begin(), trace.end(), [&](const TracedCall& call) {
        return isRename(call) && call.destination == name && call.isDone;
    });
    return static_cast<std::size_t>(found - trace.begin());
}

/// Faults of a file whose bytes must be on the disk before the call at `end`. Writes of other programs are
/// not traced, so the start of any program counts as a change.
void checkFile(const Trace& trace, std::size_t end, const std::string& file,
               std::vector<std::string>& faults) {
    const std::size_t changed = afterLast(
        trace, end, [&](const TracedCall& call) { return changes(call, file) || call.name == "clone"; });
    if (!isSynced(trace, changed, end, file)) {
        faults.push_back(file + " is not on the disk before call " + std::to_string(end + 1));
    }
}

/// Faults of the names: each new folder on the path, and the new or renamed file, must be on the disk too.
void checkName(const Trace& trace, std::size_t end, const std::string& path,
               std::vector<std::string>& faults) {
    const std::size_t made = afterLast(trace, end, [&](const TracedCall& call) {
        const bool isMade = (call.name == "mkdir" || call.name == "open") && call.path == path;
        return call.isDone && (isMade || (isRename(call) && call.destination == path));
    });
    if (made == 0) {
        return;
    }
    if (!isSynced(trace, made, end, folderOf(path))) {
        faults.push_back("the name of " + path + " is not on the disk before call " +
                         std::to_string(end + 1));
    }
    checkName(trace, end, folderOf(path), faults);
}

} // namespace

Trace readTrace(const URL& file) {
    Trace trace;
    std::istringstream lines(contents(file));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        TracedCall call;
        std::string result;
        std::getline(words, call.name, '\t');
        std::getline(words, call.path, '\t');
        std::getline(words, call.destination, '\t');
        std::getline(words, result);
        call.isDone = result == "done";
        trace.push_back(call);
    }
    return trace;
}

std::vector<std::string> powerCutFaults(const Trace& trace, const std::string& published,
                                        const std::vector<std::string>& dependencies) {
    std::vector<std::string> faults;
    const std::size_t end = publication(trace, published);
    if (end == trace.size()) {
        return {published + " is never published"};
    }
    checkFile(trace, end, trace[end].path, faults);
    for (const std::string& file : dependencies) {
        const std::size_t renamed = publication(trace, file);
        const bool isRenamed = renamed < end;
        checkFile(trace, isRenamed ? renamed : end, isRenamed ? trace[renamed].path : file, faults);
        checkName(trace, end, file, faults);
    }
    const auto next = std::find_if(
        trace.begin() + static_cast<std::ptrdiff_t>(end) + 1, trace.end(), [](const TracedCall& call) {
            return isRename(call) || call.name == "unlink" || call.name == "remove_all";
        });
    if (!isSynced(trace, end, static_cast<std::size_t>(next - trace.begin()), folderOf(published))) {
        faults.push_back("the name of " + published + " is not on the disk before what comes after");
    }
    return faults;
}

} // namespace tarnwick::test
