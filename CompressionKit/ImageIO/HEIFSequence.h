#pragma once

#include <cstdint>
#include <span>

namespace tarnwick {

/// The samples of the longest picture track in the payload of a "moov" box, 0 without such a track. A movie
/// in fragments counts as 2 at least. Throws CompressionError::invalidImage for malformed boxes.
std::int64_t longestPictureTrack(std::span<std::uint8_t> movie);

} // namespace tarnwick
