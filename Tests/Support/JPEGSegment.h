#pragma once

#include <cstddef>
#include <string>

namespace tarnwick::test {

/// A JPEG marker segment with its length.
inline std::string segment(char marker, const std::string& payload) {
    const std::size_t length = payload.size() + 2;
    return std::string("\xFF") + marker + static_cast<char>(length >> 8U) +
           static_cast<char>(length & 0xFFU) + payload;
}

} // namespace tarnwick::test
