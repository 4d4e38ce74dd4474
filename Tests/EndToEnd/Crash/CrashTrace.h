#pragma once

#include "Foundation/URL.h"
#include "Support/SystemCalls.h"

#include <string>
#include <vector>

namespace tarnwick::test {

/// A call as the crash driver saw it.
struct TracedCall : SystemCall {
    bool isDone = false;
};
using Trace = std::vector<TracedCall>;

Trace readTrace(const URL& file);

/// What a power cut could take although it was published, one line each. `published` is the name that a file
/// gets (the user's, or a record's); `dependencies` are files that must be on the disk before that, with
/// their names.
std::vector<std::string> powerCutFaults(const Trace& trace, const std::string& published,
                                        const std::vector<std::string>& dependencies);

} // namespace tarnwick::test
