#pragma once

#include <string>

namespace tarnwick::test {

/// Makes the allocation of this number, counted among those of a page or more, fail in this program, which
/// then appends a line to the trace.
void failAllocation(const std::string& trace, int number);

} // namespace tarnwick::test
