#pragma once

#include <cstdint>
#include <vector>

namespace tarnwick {

/// The light of values from 0 to 1, in equal steps, on a screen without high dynamic range, relative to its
/// white. For the transfer functions 16 (PQ) and 18 (HLG) of H.273, empty for all others.
std::vector<float> standardRangeCurve(std::uint16_t transfer);

} // namespace tarnwick
