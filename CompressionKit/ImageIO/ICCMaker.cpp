#include "ImageIO/ICCMaker.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace tarnwick {
namespace {

/// Whether Little CMS can compute with the numbers.
bool isPlausible(const Chromaticities& c) {
    const auto isWhite = [](double value) { return value >= 0.2 && value <= 0.5; };
    const auto isPrimary = [](double x, double y) { return x >= 0 && x <= 1 && y >= 0.001 && y <= 1; };
    return isWhite(c.whiteX) && isWhite(c.whiteY) && isPrimary(c.redX, c.redY) &&
           isPrimary(c.greenX, c.greenY) && isPrimary(c.blueX, c.blueY);
}

/// Whether the results fit the format's fixed-point numbers. Primaries nearly on one line make huge ones.
bool hasModestColorants(cmsHPROFILE profile) {
    constexpr std::array tags = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
    return std::all_of(tags.begin(), tags.end(), [&](cmsTagSignature tag) {
        const auto* colorant = readTag<cmsCIEXYZ>(profile, tag);
        return colorant != nullptr && std::abs(colorant->X) <= 4 && std::abs(colorant->Y) <= 4 &&
               std::abs(colorant->Z) <= 4;
    });
}

std::vector<std::uint8_t> serialized(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    requireMemory(cmsSaveProfileToMem(profile, nullptr, &size) != 0);
    std::vector<std::uint8_t> icc(size);
    requireMemory(cmsSaveProfileToMem(profile, icc.data(), &size) != 0);
    // Little CMS writes the current time and has no function to set it.
    constexpr std::array<std::uint8_t, 12> newYear2000 = {0x07, 0xD0, 0, 1, 0, 1};
    constexpr std::ptrdiff_t creationDate = 24;
    std::copy(newYear2000.begin(), newYear2000.end(), icc.begin() + creationDate);
    return icc;
}

} // namespace

std::vector<std::uint8_t> makeICC(const Chromaticities& chromaticities, const TransferCurve& curve,
                                  const std::string& name) {
    constexpr cmsInt32Number gammaWithLinearStart = 4;
    const ContextHandle context = makeContext();
    const std::array<cmsFloat64Number, 5> parameters = {curve.gamma, curve.a, curve.b, curve.c, curve.d};
    const CurveHandle built(
        cmsBuildParametricToneCurve(context.get(), gammaWithLinearStart, parameters.data()));
    requireMemory(built != nullptr);
    return makeICC(context.get(), chromaticities, *built, *makeDescription(context.get(), name));
}

std::vector<std::uint8_t> makeICC(const Chromaticities& chromaticities, std::span<const float> curve,
                                  const std::string& name) {
    const ContextHandle context = makeContext();
    const CurveHandle built(cmsBuildTabulatedToneCurveFloat(
        context.get(), static_cast<cmsUInt32Number>(curve.size()), curve.data()));
    requireMemory(built != nullptr);
    return makeICC(context.get(), chromaticities, *built, *makeDescription(context.get(), name));
}

std::vector<std::uint8_t> makeICC(cmsContext context, const Chromaticities& c, const cmsToneCurve& curve,
                                  const cmsMLU& description) {
    if (!isPlausible(c)) {
        return {};
    }
    const cmsCIExyY white = {c.whiteX, c.whiteY, 1};
    const cmsCIExyYTRIPLE primaries = {{c.redX, c.redY, 1}, {c.greenX, c.greenY, 1}, {c.blueX, c.blueY, 1}};
    const CurveHandle own(cmsDupToneCurve(&curve));
    requireMemory(own != nullptr);
    const std::array<cmsToneCurve*, 3> curves = {own.get(), own.get(), own.get()};
    const ProfileHandle profile(cmsCreateRGBProfileTHR(context, &white, &primaries, curves.data()));
    if (!profile || !hasModestColorants(profile.get())) {
        return {};
    }
    requireMemory(cmsWriteTag(profile.get(), cmsSigProfileDescriptionTag, &description) != 0);
    return serialized(profile.get());
}

TextHandle makeDescription(cmsContext context, const std::string& text) {
    TextHandle made(cmsMLUalloc(context, 1));
    requireMemory(made != nullptr && cmsMLUsetASCII(made.get(), "en", "US", text.c_str()) != 0);
    return made;
}

} // namespace tarnwick
