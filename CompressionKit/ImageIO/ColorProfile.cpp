#include "ImageIO/ColorProfile.h"

#include "Foundation/SHA256.h"
#include "ImageIO/HighDynamicRange.h"
#include "ImageIO/ICCMaker.h"
#include "ImageIO/ICCProfile.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

namespace tarnwick {
namespace {

constexpr std::string_view sRGBName = "sRGB IEC61966-2.1";
constexpr std::string_view displayP3Name = "Display P3";

constexpr Chromaticities bt709Primaries = {0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06};

/// By the numbers of H.273.
constexpr std::array<std::pair<std::uint16_t, Chromaticities>, 9> knownPrimaries = {{
    {1, bt709Primaries},
    {4, {0.310, 0.316, 0.67, 0.33, 0.21, 0.71, 0.14, 0.08}},
    {5, {0.3127, 0.3290, 0.64, 0.33, 0.29, 0.60, 0.15, 0.06}},
    {6, {0.3127, 0.3290, 0.630, 0.340, 0.310, 0.595, 0.155, 0.070}},
    {8, {0.310, 0.316, 0.681, 0.319, 0.243, 0.692, 0.145, 0.049}},
    {9, {0.3127, 0.3290, 0.708, 0.292, 0.170, 0.797, 0.131, 0.046}},
    {11, {0.314, 0.351, 0.680, 0.320, 0.265, 0.690, 0.150, 0.060}},
    {12, {0.3127, 0.3290, 0.680, 0.320, 0.265, 0.690, 0.150, 0.060}},
    {22, {0.3127, 0.3290, 0.630, 0.340, 0.295, 0.605, 0.155, 0.077}},
}};

constexpr TransferCurve sRGBCurve = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
constexpr double bt709Alpha = 1.099296826809442;
constexpr double bt709Beta = 0.018053968510807;

/// The curves that an ICC profile can hold, by the numbers of H.273.
constexpr std::array<std::pair<std::uint16_t, TransferCurve>, 5> knownCurves = {{
    {1, {1 / 0.45, 1 / bt709Alpha, (bt709Alpha - 1) / bt709Alpha, 1 / 4.5, 4.5 * bt709Beta}},
    {4, {.gamma = 2.2}},
    {5, {.gamma = 2.8}},
    {8, {.gamma = 1}},
    {13, sRGBCurve},
}};

struct SpaceName {
    std::uint16_t primaries;
    std::uint16_t transfer;
    std::string_view name;
};

/// "Display P3 PQ" would be mistaken for Display P3.
constexpr std::array spaceNames = {
    SpaceName{1, 13, sRGBName},     SpaceName{12, 13, displayP3Name}, SpaceName{1, 1, "ITU-R BT.709"},
    SpaceName{9, 1, "BT.2020"},     SpaceName{9, 16, "BT.2020 PQ"},   SpaceName{9, 18, "BT.2020 HLG"},
    SpaceName{12, 16, "P3 D65 PQ"}, SpaceName{12, 18, "P3 D65 HLG"},
};

template <typename Value, std::size_t count>
const Value* find(const std::array<std::pair<std::uint16_t, Value>, count>& table, std::uint16_t number) {
    for (const auto& [key, value] : table) {
        if (key == number) {
            return &value;
        }
    }
    return nullptr;
}

bool startsLike(std::string_view text, std::string_view key) noexcept {
    for (const char c : text) {
        if (c == ' ') {
            continue;
        }
        const char lowered = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        if (key.empty() || lowered != key.front()) {
            break;
        }
        key.remove_prefix(1);
    }
    return key.empty();
}

/// Whether the text contains `key` (in lower case) in any case and with any spaces.
bool mentions(std::string_view text, std::string_view key) noexcept {
    while (!text.empty() && !startsLike(text, key)) {
        text.remove_prefix(1);
    }
    return !text.empty();
}

std::string digestName(std::span<const std::uint8_t> icc) {
    const std::string_view bytes(reinterpret_cast<const char*>(icc.data()), icc.size());
    return "Custom profile " + SHA256::hexDigest(bytes).substr(0, 8);
}

/// A profile that states a space's name but is another space must not count as that space. One that is the
/// space counts as it under any name.
std::string profileName(const ICCProfile& profile, std::span<const std::uint8_t> icc) {
    std::string stated = profile.description();
    const KnownSpace measured = profile.measuredSpace();
    if (!stated.empty() && spaceNamed(stated) == measured) {
        return stated;
    }
    if (measured == KnownSpace::other) {
        return digestName(icc);
    }
    return std::string(measured == KnownSpace::sRGB ? sRGBName : displayP3Name);
}

std::uint16_t effectivePrimaries(std::uint16_t stated) {
    if (stated == 2) {
        return 1;
    }
    return stated == 7 ? 6 : stated;
}

/// One number for each curve: BT.601 and both depths of BT.2020 have the curve of BT.709.
std::uint16_t effectiveTransfer(std::uint16_t stated) {
    if (stated == 2) {
        return 13;
    }
    return stated == 6 || stated == 14 || stated == 15 ? 1 : stated;
}

std::string codePointsName(std::uint16_t primaries, std::uint16_t transfer) {
    for (const SpaceName& space : spaceNames) {
        if (space.primaries == primaries && space.transfer == transfer) {
            return std::string(space.name);
        }
    }
    return fmt::format("CICP {}/{}", primaries, transfer);
}

std::array<double, 8> values(const Chromaticities& c) {
    return {c.whiteX, c.whiteY, c.redX, c.redY, c.greenX, c.greenY, c.blueX, c.blueY};
}

bool areBT709(const Chromaticities& chromaticities) {
    const auto stated = values(chromaticities);
    const auto expected = values(bt709Primaries);
    return std::equal(stated.begin(), stated.end(), expected.begin(),
                      [](double a, double b) { return std::abs(a - b) <= 0.002; });
}

/// PNG can state the curve of sRGB only by the nearest power, 1 ÷ 2.2.
bool isSRGBGamma(double fileGamma) {
    return std::abs(fileGamma - 0.45455) <= 0.005;
}

/// The name consists of rounded values, so that files that differ only by rounding match.
std::string statedName(std::optional<double> fileGamma, const std::optional<Chromaticities>& chromaticities) {
    std::string name;
    if (fileGamma) {
        const std::string number = fmt::format("{:.5g}", *fileGamma);
        name = "Gamma " + number + (number.find_first_of(".e") == std::string::npos ? ".0" : "");
    }
    if (chromaticities) {
        name += name.empty() ? "Primaries" : ", primaries";
        for (const double value : values(*chromaticities)) {
            name += fmt::format(" {:.4g}", value);
        }
    }
    return name;
}

/// None for an implausible gamma.
std::optional<TransferCurve> decodingCurve(std::optional<double> fileGamma) {
    if (!fileGamma) {
        return sRGBCurve;
    }
    return *fileGamma >= 0.1 && *fileGamma <= 10 ? std::optional(TransferCurve{.gamma = 1 / *fileGamma})
                                                 : std::nullopt;
}

} // namespace

KnownSpace spaceNamed(std::string_view profileName) noexcept {
    if (mentions(profileName, "srgb")) {
        return KnownSpace::sRGB;
    }
    return mentions(profileName, "displayp3") ? KnownSpace::displayP3 : KnownSpace::other;
}

ColorProfile::ColorProfile() : name_(sRGBName) {}

std::optional<ColorProfile> ColorProfile::fromICC(std::span<const std::uint8_t> icc) {
    const auto opened = ICCProfile::open(icc);
    if (!opened) {
        return std::nullopt;
    }
    ColorProfile profile;
    profile.name_ = profileName(*opened, icc);
    profile.icc_ = opened->forRGB(profile.name_);
    return profile;
}

ColorProfile ColorProfile::fromCodePoints(const CodePoints& codePoints) {
    const std::uint16_t primaries = effectivePrimaries(codePoints.primaries);
    const std::uint16_t transfer = effectiveTransfer(codePoints.transfer);
    ColorProfile profile;
    profile.name_ = codePointsName(primaries, transfer);
    profile.codePoints_ = codePoints;
    const auto* const chromaticities = find(knownPrimaries, primaries);
    const auto* const curve = find(knownCurves, transfer);
    if (!profile.isSRGB() && chromaticities != nullptr && curve != nullptr) {
        profile.icc_ = makeICC(*chromaticities, *curve, profile.name_);
    }
    return profile;
}

ColorProfile ColorProfile::fromGamma(std::optional<double> fileGamma,
                                     const std::optional<Chromaticities>& chromaticities) {
    const auto gamma = fileGamma && std::isfinite(*fileGamma) && *fileGamma > 0 ? fileGamma : std::nullopt;
    const bool hasOwnPrimaries = chromaticities && !areBT709(*chromaticities);
    if (!hasOwnPrimaries && (!gamma || isSRGBGamma(*gamma))) {
        return {};
    }
    ColorProfile profile;
    profile.name_ = statedName(gamma, hasOwnPrimaries ? chromaticities : std::nullopt);
    if (const auto curve = decodingCurve(gamma)) {
        profile.icc_ = makeICC(hasOwnPrimaries ? *chromaticities : bt709Primaries, *curve, profile.name_);
    }
    return profile;
}

ColorProfile ColorProfile::genericCMYK() {
    ColorProfile profile;
    profile.name_ = "Generic CMYK Profile";
    return profile;
}

bool ColorProfile::isSRGB() const noexcept {
    return spaceNamed(name_) == KnownSpace::sRGB;
}

std::vector<std::uint8_t> ColorProfile::iccForRGB() const {
    return icc_;
}

std::vector<std::uint8_t> ColorProfile::iccForDisplay() const {
    if (!codePoints_ || !icc_.empty()) {
        return icc_;
    }
    const auto* const chromaticities = find(knownPrimaries, effectivePrimaries(codePoints_->primaries));
    const auto curve = standardRangeCurve(codePoints_->transfer);
    if (chromaticities == nullptr || curve.empty()) {
        return {};
    }
    return makeICC(*chromaticities, curve, name_);
}

} // namespace tarnwick
