#pragma once

#include "Foundation/URL.h"

#include <cstddef>
#include <functional>

namespace tarnwick::test {

/// Cuts the file byte by byte from its end, down to nothing, and calls `check` with each length that is left.
void forEachCut(const URL& url, const std::function<void(std::size_t length)>& check);

/// Inverts the file's first `count` bytes one after the other and calls `check` with the place of each; every
/// byte is put back before the next.
void forEachFlippedByte(const URL& url, std::size_t count,
                        const std::function<void(std::size_t place)>& check);

} // namespace tarnwick::test
