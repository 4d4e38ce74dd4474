#pragma once

#include "Foundation/URL.h"

#include <cstdint>

/// What this process may use of the machine. `root` is where /proc and /sys are found; what cannot be read
/// there limits nothing.
namespace tarnwick::MachineLimits {

/// The processors that this process may run on, and no more than the quotas of its control groups come to,
/// rounded up; at least 1.
int processors(const URL& root = URL::file("/"));

/// The bytes of memory that could be taken now without swapping, and no more than its control groups still
/// allow.
std::int64_t availableMemory(const URL& root = URL::file("/"));

} // namespace tarnwick::MachineLimits
