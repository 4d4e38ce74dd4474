#pragma once

#include <cstdint>
#include <vector>

namespace tarnwick {

/// The light that a value stands for on an ordinary screen, for the transfer functions 16 (PQ) and 18 (HLG)
/// of H.273: values from 0 to 1 in equal steps, the light relative to the screen's white. Empty for other
/// functions.
std::vector<float> standardRangeCurve(std::uint16_t transfer);

} // namespace tarnwick
