#pragma once

#include "Foundation/URL.h"

#include <cstddef>
#include <functional>

namespace tarnwick::test {

/// Cuts the file byte by byte from its end, down to nothing, and calls `check` with each remaining length.
void forEachCut(const URL& url, const std::function<void(std::size_t length)>& check);

/// Flips the lowest, the highest, then all bits of each of the file's first `count` bytes, and calls `check`
/// with its place each time. Every byte is restored before the next.
void forEachFlippedByte(const URL& url, std::size_t count,
                        const std::function<void(std::size_t place)>& check);

} // namespace tarnwick::test
