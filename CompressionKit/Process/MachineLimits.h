#pragma once

#include "Foundation/URL.h"

#include <cstdint>

/// The share of the machine that this process may use. `root` is the folder that contains proc and sys; files
/// that cannot be read there set no limit.
namespace tarnwick::MachineLimits {

/// The number of processors that this process may run on, limited by the quotas of its control groups
/// (rounded up); at least 1.
int processors(const URL& root = URL::file("/"));

/// The bytes of memory that the machine has, limited by the control groups.
std::int64_t totalMemory(const URL& root = URL::file("/"));

/// The bytes of memory that are available without swapping, limited by the control groups.
std::int64_t availableMemory(const URL& root = URL::file("/"));

} // namespace tarnwick::MachineLimits
