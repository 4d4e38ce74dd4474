#include "ImageIO/HighDynamicRange.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarnwick {
namespace {

constexpr std::uint16_t perceptualQuantizer = 16;
constexpr std::uint16_t hybridLogGamma = 18;
constexpr std::size_t steps = 4096;

// In candelas a square metre, after ITU-R BT.2408.
constexpr double standardWhite = 203;
constexpr double masteringPeak = 1000;

/// ITU-R BT.2100, table 4.
double lightOfPQ(double value) {
    constexpr double m1 = 2610.0 / 16384;
    constexpr double m2 = 2523.0 / 4096 * 128;
    constexpr double c1 = 3424.0 / 4096;
    constexpr double c2 = 2413.0 / 4096 * 32;
    constexpr double c3 = 2392.0 / 4096 * 32;
    const double power = std::pow(value, 1 / m2);
    return 10'000 * std::pow(std::max(power - c1, 0.0) / (c2 - c3 * power), 1 / m1);
}

/// ITU-R BT.2100, table 5, with the system gamma of a screen of `masteringPeak` on each component.
double lightOfHLG(double value) {
    constexpr double a = 0.17883277;
    constexpr double b = 0.28466892;
    constexpr double c = 0.55991073;
    constexpr double systemGamma = 1.2;
    const double scene = value <= 0.5 ? value * value / 3 : (std::exp((value - c) / a) + b) / 12;
    return masteringPeak * std::pow(scene, systemGamma);
}

/// Unchanged up to 0.5; above that a curve that maps the mastering peak to 1.
double toneMapped(double light) {
    constexpr double knee = 0.5;
    constexpr double peak = (masteringPeak / standardWhite - knee) / (1 - knee);
    if (light <= knee) {
        return light;
    }
    const double above = std::min((light - knee) / (1 - knee), peak);
    return knee + (1 - knee) * above * (1 + above / (peak * peak)) / (1 + above);
}

} // namespace

std::vector<float> standardRangeCurve(std::uint16_t transfer) {
    if (transfer != perceptualQuantizer && transfer != hybridLogGamma) {
        return {};
    }
    std::vector<float> curve;
    for (std::size_t step = 0; step < steps; ++step) {
        const double value = static_cast<double>(step) / (steps - 1);
        const double light = transfer == hybridLogGamma ? lightOfHLG(value) : lightOfPQ(value);
        curve.push_back(static_cast<float>(toneMapped(light / standardWhite)));
    }
    return curve;
}

} // namespace tarnwick
