#include "ImageIO/ICCProfile.h"

#include "Foundation/Text.h"
#include "ImageIO/BigEndian.h"
#include "ImageIO/ICCMaker.h"
#include "ImageIO/ImageLimits.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace tarnwick {
namespace {

constexpr std::size_t headerBytes = 128;
constexpr std::size_t maximumDescriptionCharacters = 256;

using Colorants = std::array<cmsCIEXYZ, 3>;

/// Red, green and blue in the profile connection space, adapted to D50.
constexpr Colorants sRGBColorants = {
    {{0.4360, 0.2225, 0.0139}, {0.3851, 0.7169, 0.0971}, {0.1431, 0.0606, 0.7139}}};
constexpr Colorants displayP3Colorants = {
    {{0.5151, 0.2412, -0.0011}, {0.2920, 0.6922, 0.0419}, {0.1571, 0.0666, 0.7841}}};

/// The size that the profile states.
std::size_t statedBytes(std::span<const std::uint8_t> icc) {
    return bigEndian(icc.first(4));
}

bool areNear(const cmsCIEXYZ& a, const cmsCIEXYZ& b) {
    constexpr double tolerance = 0.002;
    return std::abs(a.X - b.X) <= tolerance && std::abs(a.Y - b.Y) <= tolerance &&
           std::abs(a.Z - b.Z) <= tolerance;
}

bool hasColorants(cmsHPROFILE profile, const Colorants& expected) {
    constexpr std::array tags = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
    return std::equal(tags.begin(), tags.end(), expected.begin(),
                      [&](cmsTagSignature tag, const cmsCIEXYZ& value) {
                          const auto* colorant = readTag<cmsCIEXYZ>(profile, tag);
                          return colorant != nullptr && areNear(*colorant, value);
                      });
}

double sRGBEncoded(double light) {
    return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

/// Whether every 8-bit value means the same light as in sRGB, within one step of 8 bits.
bool hasSRGBCurve(cmsHPROFILE profile, cmsTagSignature tag) {
    const auto* curve = readTag<cmsToneCurve>(profile, tag);
    if (curve == nullptr) {
        return false;
    }
    for (int code = 0; code < 256; ++code) {
        const double value = code / 255.0;
        const double light = cmsEvalToneCurveFloat(curve, static_cast<cmsFloat32Number>(value));
        // In this form a NaN fails.
        if (!(std::abs(sRGBEncoded(light) - value) <= 1.0 / 255)) {
            return false;
        }
    }
    return true;
}

void appendUTF8(std::string& text, std::uint32_t character) {
    const auto tail = [&](unsigned shift) { return static_cast<char>(0x80U | (character >> shift & 0x3FU)); };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += {static_cast<char>(0xC0U | character >> 6U), tail(0)};
    } else {
        text += {static_cast<char>(0xE0U | character >> 12U), tail(6), tail(0)};
    }
}

} // namespace

ICCProfile::ICCProfile(std::span<const std::uint8_t> icc, ContextHandle context, ProfileHandle profile)
    : icc_(icc), context_(std::move(context)), profile_(std::move(profile)) {}

std::optional<ICCProfile> ICCProfile::open(std::span<const std::uint8_t> icc) {
    // Little CMS accepts profiles that end early.
    if (icc.size() < headerBytes || icc.size() > ImageLimits().maximumProfileBytes ||
        statedBytes(icc) > icc.size()) {
        return std::nullopt;
    }
    ContextHandle context = makeContext();
    ProfileHandle profile(
        cmsOpenProfileFromMemTHR(context.get(), icc.data(), static_cast<cmsUInt32Number>(icc.size())));
    if (!profile) {
        return std::nullopt;
    }
    return ICCProfile(icc, std::move(context), std::move(profile));
}

std::string ICCProfile::description() const {
    const auto bytes = cmsGetProfileInfo(profile_.get(), cmsInfoDescription, "en", "US", nullptr, 0);
    if (bytes > maximumDescriptionCharacters * sizeof(wchar_t)) {
        return {};
    }
    std::array<wchar_t, maximumDescriptionCharacters + 1> characters{};
    cmsGetProfileInfo(profile_.get(), cmsInfoDescription, "en", "US", characters.data(), bytes);
    std::string text;
    for (const wchar_t* character = characters.data(); *character != 0; ++character) {
        // After a character of two UTF-16 units, Little CMS leaves the end of the text uninitialized.
        if (*character > 0xFFFF) {
            return {};
        }
        // Little CMS returns the bytes of an 8-bit description as signed numbers.
        appendUTF8(text, static_cast<std::uint32_t>(*character < 0 ? *character & 0xFF : *character));
    }
    return displayText(trimmed(text));
}

KnownSpace ICCProfile::measuredSpace() const {
    cmsHPROFILE profile = profile_.get();
    if (!isPlain()) {
        return KnownSpace::other;
    }
    if (cmsGetColorSpace(profile) == cmsSigGrayData) {
        return hasSRGBCurve(profile, cmsSigGrayTRCTag) ? KnownSpace::sRGB : KnownSpace::other;
    }
    if (cmsGetColorSpace(profile) != cmsSigRgbData || !hasSRGBCurve(profile, cmsSigRedTRCTag) ||
        !hasSRGBCurve(profile, cmsSigGreenTRCTag) || !hasSRGBCurve(profile, cmsSigBlueTRCTag)) {
        return KnownSpace::other;
    }
    if (hasColorants(profile, sRGBColorants)) {
        return KnownSpace::sRGB;
    }
    return hasColorants(profile, displayP3Colorants) ? KnownSpace::displayP3 : KnownSpace::other;
}

std::vector<std::uint8_t> ICCProfile::forRGB(const std::string& name) const {
    constexpr std::array classes = {cmsSigInputClass, cmsSigDisplayClass, cmsSigOutputClass,
                                    cmsSigColorSpaceClass};
    if (std::find(classes.begin(), classes.end(), cmsGetDeviceClass(profile_.get())) == classes.end()) {
        return {};
    }
    if (cmsGetColorSpace(profile_.get()) == cmsSigRgbData) {
        return {icc_.begin(), icc_.end()};
    }
    return cmsGetColorSpace(profile_.get()) == cmsSigGrayData ? spreadGray(name)
                                                              : std::vector<std::uint8_t>();
}

/// Whether the profile has only curves and colorants. Tables would take precedence over them.
bool ICCProfile::isPlain() const {
    constexpr std::array tables = {cmsSigAToB0Tag, cmsSigAToB1Tag, cmsSigAToB2Tag, cmsSigDToB0Tag,
                                   cmsSigDToB1Tag, cmsSigDToB2Tag, cmsSigDToB3Tag};
    return cmsGetPCS(profile_.get()) == cmsSigXYZData &&
           std::none_of(tables.begin(), tables.end(),
                        [this](cmsTagSignature tag) { return cmsIsTag(profile_.get(), tag) != 0; });
}

std::vector<std::uint8_t> ICCProfile::spreadGray(const std::string& name) const {
    const auto* curve = readTag<cmsToneCurve>(profile_.get(), cmsSigGrayTRCTag);
    if (curve == nullptr || !isPlain() || measuredSpace() == KnownSpace::sRGB) {
        return {};
    }
    cmsCIExyY white = *cmsD50_xyY();
    if (const auto* stated = readTag<cmsCIEXYZ>(profile_.get(), cmsSigMediaWhitePointTag)) {
        cmsXYZ2xyY(&white, stated);
    }
    // Neutral colours do not depend on the primaries.
    const Chromaticities chromaticities = {white.x, white.y, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06};
    const auto* stated = readTag<cmsMLU>(profile_.get(), cmsSigProfileDescriptionTag);
    if (stated != nullptr && name == description()) {
        return makeICC(context_.get(), chromaticities, *curve, *stated);
    }
    return makeICC(context_.get(), chromaticities, *curve, *makeDescription(context_.get(), name));
}

} // namespace tarnwick
