#pragma once

#include "Foundation/URL.h"
#include "Support/SystemCalls.h"

#include <string>
#include <vector>

namespace tarnwick::test {

/// A call as the driver saw it.
struct TracedCall : SystemCall {
    bool isDone = false;
};
using Trace = std::vector<TracedCall>;

Trace readTrace(const URL& file);

/// One text for each item that a power cut could destroy after it was published. `published` is the new name
/// of a file (the user's file or a record); `dependencies` are files that must be on the disk before, with
/// their names.
std::vector<std::string> powerCutFaults(const Trace& trace, const std::string& published,
                                        const std::vector<std::string>& dependencies);

} // namespace tarnwick::test
