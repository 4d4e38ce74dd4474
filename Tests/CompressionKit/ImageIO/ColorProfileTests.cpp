#include "Foundation/Text.h"
#include "ImageIO/ColorProfile.h"
#include "ImageIO/LittleCMS.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace tarnwick {
namespace {

using ICC = std::vector<std::uint8_t>;

constexpr std::array<double, 8> bt709 = {0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06};
constexpr std::array<double, 8> displayP3 = {0.3127, 0.3290, 0.68, 0.32, 0.265, 0.69, 0.15, 0.06};
constexpr std::array<double, 8> adobe = {0.3127, 0.3290, 0.64, 0.33, 0.21, 0.71, 0.15, 0.06};
/// What stands for the curve of sRGB among gammas.
constexpr double sRGBCurve = 0;

/// Makes profiles with Little CMS and forgets them in one go.
class ProfileMaker {
public:
    ICC rgb(const wchar_t* description, const std::array<double, 8>& xy, double gamma) {
        const cmsCIExyY white = {xy[0], xy[1], 1};
        const cmsCIExyYTRIPLE primaries = {{xy[2], xy[3], 1}, {xy[4], xy[5], 1}, {xy[6], xy[7], 1}};
        const CurveHandle tone = curve(gamma);
        const std::array<cmsToneCurve*, 3> curves = {tone.get(), tone.get(), tone.get()};
        ProfileHandle made(cmsCreateRGBProfileTHR(context_.get(), &white, &primaries, curves.data()));
        return bytes(made.get(), description);
    }
    /// With a description of 8-bit characters, as version 2 has.
    ICC latin1(const std::string& description, const std::array<double, 8>& xy, double gamma) {
        const ICC icc = rgb(L"", xy, gamma);
        const ProfileHandle profile = open(icc);
        const TextHandle text(cmsMLUalloc(context_.get(), 1));
        cmsSetProfileVersion(profile.get(), 2.1);
        cmsMLUsetASCII(text.get(), "en", "US", description.c_str());
        cmsWriteTag(profile.get(), cmsSigProfileDescriptionTag, text.get());
        return bytes(profile.get());
    }
    ICC gray(const wchar_t* description, double gamma) {
        ProfileHandle made(cmsCreateGrayProfileTHR(context_.get(), cmsD50_xyY(), curve(gamma).get()));
        return bytes(made.get(), description);
    }
    /// Of the same bytes but for its class and pixels, which nothing then agrees with.
    ICC relabelled(ICC icc, const char* deviceClass, const char* pixels) {
        std::copy_n(deviceClass, 4, icc.begin() + 12);
        std::copy_n(pixels, 4, icc.begin() + 16);
        return icc;
    }
    /// sRGB by its curves and primaries, but with a table that readers prefer to them.
    ICC withTable(const wchar_t* description) {
        const ICC plain = rgb(description, bt709, sRGBCurve);
        ProfileHandle profile = open(plain);
        cmsPipeline* pipeline = cmsPipelineAlloc(context_.get(), 3, 3);
        cmsPipelineInsertStage(pipeline, cmsAT_BEGIN, cmsStageAllocToneCurves(context_.get(), 3, nullptr));
        cmsWriteTag(profile.get(), cmsSigAToB0Tag, pipeline);
        cmsPipelineFree(pipeline);
        return bytes(profile.get(), description);
    }
    ProfileHandle open(const ICC& icc) {
        return ProfileHandle(
            cmsOpenProfileFromMemTHR(context_.get(), icc.data(), static_cast<cmsUInt32Number>(icc.size())));
    }
    /// What a pixel of equal components looks like, in the profile connection space.
    cmsCIEXYZ neutral(const ICC& icc, cmsUInt32Number format, std::uint8_t value) {
        const ProfileHandle from = open(icc);
        const ProfileHandle to(cmsCreateXYZProfileTHR(context_.get()));
        cmsHTRANSFORM transform =
            cmsCreateTransformTHR(context_.get(), from.get(), format, to.get(), TYPE_XYZ_DBL,
                                  INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE);
        const std::array<std::uint8_t, 3> pixel = {value, value, value};
        cmsCIEXYZ seen{};
        cmsDoTransform(transform, pixel.data(), &seen, 1);
        cmsDeleteTransform(transform);
        return seen;
    }

private:
    CurveHandle curve(double gamma) {
        // sRGB's as a table, as the most common profile of it has.
        std::array<cmsUInt16Number, 1024> table{};
        for (std::size_t i = 0; i < table.size(); ++i) {
            const double x = static_cast<double>(i) / 1023;
            const double light = x <= 0.04045 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4);
            table[i] = static_cast<cmsUInt16Number>(std::lround(light * 65535));
        }
        return CurveHandle(gamma == sRGBCurve
                               ? cmsBuildTabulatedToneCurve16(context_.get(), 1024, table.data())
                               : cmsBuildGamma(context_.get(), gamma));
    }
    ICC bytes(cmsHPROFILE profile, const wchar_t* description) {
        const TextHandle text(cmsMLUalloc(context_.get(), 1));
        cmsMLUsetWide(text.get(), "en", "US", description);
        cmsWriteTag(profile, cmsSigProfileDescriptionTag, *description == 0 ? nullptr : text.get());
        return bytes(profile);
    }
    ICC bytes(cmsHPROFILE profile) {
        cmsUInt32Number size = 0;
        cmsSaveProfileToMem(profile, nullptr, &size);
        ICC icc(size);
        EXPECT_TRUE(cmsSaveProfileToMem(profile, icc.data(), &size));
        return icc;
    }

    ContextHandle context_ = makeContext();
};

ColorProfile profileOf(const ICC& icc) {
    const auto profile = ColorProfile::fromICC(icc);
    EXPECT_TRUE(profile);
    return profile.value_or(ColorProfile());
}

Chromaticities chromaticities(const std::array<double, 8>& xy) {
    return {xy[0], xy[1], xy[2], xy[3], xy[4], xy[5], xy[6], xy[7]};
}

/// The name as pictures are compared by it.
std::string normalized(const std::string& name) {
    std::string key = lowercasedASCII(name);
    std::erase(key, ' ');
    return key;
}

} // namespace

TEST(ColorProfile, NamesAnICCProfileByItsDescriptionUnlessItIsAKnownSpace) {
    ProfileMaker maker;
    const std::vector<std::pair<ICC, std::string>> cases = {
        {maker.rgb(L"sRGB built-in", bt709, sRGBCurve), "sRGB built-in"},
        {maker.rgb(L"Camera", bt709, sRGBCurve), "sRGB IEC61966-2.1"},
        {maker.rgb(L"", bt709, sRGBCurve), "sRGB IEC61966-2.1"},
        {maker.rgb(L"Phone display p3", displayP3, sRGBCurve), "Phone display p3"},
        {maker.rgb(L"Wide", displayP3, sRGBCurve), "Display P3"},
        {maker.rgb(L"sRGB", displayP3, sRGBCurve), "Display P3"},
        {maker.rgb(L"Display P3 (sRGB curve)", displayP3, sRGBCurve), "Display P3"},
        {maker.rgb(L"Display P3", bt709, sRGBCurve), "sRGB IEC61966-2.1"},
        {maker.rgb(L" Adobe RGB (1998)\n", adobe, 2.2), "Adobe RGB (1998)"},
        {maker.rgb(L"Größe 色", adobe, 1.8), "Größe 色"},
        {maker.rgb(L"bell\x07", adobe, 1.8), "bell\uFFFD"},
        {maker.latin1("Gr\xFC\xDF", adobe, 1.8), "Grüß"},
        {maker.gray(L"Scanner", sRGBCurve), "sRGB IEC61966-2.1"},
        {maker.gray(L"Gray Gamma 2.2", 2.2), "Gray Gamma 2.2"},
        {maker.relabelled(maker.rgb(L"SWOP", bt709, sRGBCurve), "prtr", "CMYK"), "SWOP"},
    };
    for (const auto& [icc, name] : cases) {
        EXPECT_EQ(profileOf(icc).name(), name);
    }
    EXPECT_TRUE(profileOf(cases[0].first).isSRGB());
    EXPECT_FALSE(profileOf(cases[4].first).isSRGB());
}

TEST(ColorProfile, LetsNoOtherSpacePassForSRGBOrDisplayP3) {
    ProfileMaker maker;
    std::array<double, 8> nearly = bt709;
    nearly[2] += 0.02;
    const std::vector<ICC> impostors = {
        maker.rgb(L"linear sRGB", bt709, 1.0),
        maker.rgb(L"Not sRGB", adobe, 2.2),
        maker.rgb(L"s R G B", bt709, 2.2),
        maker.rgb(L"sRGB IEC61966-2.1", nearly, sRGBCurve),
        maker.rgb(L"Display P3", displayP3, 2.6),
        maker.rgb(L"DISPLAY  P3", adobe, sRGBCurve),
        maker.gray(L"sRGB gray", 1.8),
        maker.relabelled(maker.rgb(L"sRGB", bt709, sRGBCurve), "prtr", "CMYK"),
        maker.withTable(L"sRGB v4 preference"),
        maker.rgb(L"", adobe, 2.2),
        maker.rgb(L"", adobe, 1.8),
        maker.rgb(std::wstring(300, L'x').c_str(), adobe, 1.8),
        maker.rgb(L"Smile \xD83D\xDE00!", adobe, 1.8),
    };
    std::set<std::string> names;
    for (const ICC& icc : impostors) {
        const ColorProfile profile = profileOf(icc);
        EXPECT_EQ(profile.name().rfind("Custom profile ", 0), 0U) << profile.name();
        EXPECT_FALSE(profile.isSRGB());
        EXPECT_EQ(profile.name(), profileOf(icc).name());
        names.insert(profile.name());
    }
    EXPECT_EQ(names.size(), impostors.size());
}

TEST(ColorProfile, EmbedsForRGBWhatFitsTheDecodedPixels) {
    ProfileMaker maker;
    ICC wide = maker.rgb(L"Wide Gamut", adobe, 1.8);
    wide.insert(wide.end(), {1, 2, 3});
    EXPECT_EQ(profileOf(wide).iccForRGB(), wide);
    EXPECT_TRUE(profileOf(maker.relabelled(wide, "prtr", "CMYK")).iccForRGB().empty());
    EXPECT_TRUE(profileOf(maker.relabelled(wide, "link", "RGB ")).iccForRGB().empty());
    EXPECT_TRUE(profileOf(maker.gray(L"", sRGBCurve)).iccForRGB().empty());
    EXPECT_TRUE(ColorProfile::genericCMYK().iccForRGB().empty());
    EXPECT_EQ(ColorProfile::genericCMYK().name(), "Generic CMYK Profile");
    EXPECT_TRUE(ColorProfile().iccForRGB().empty());
    EXPECT_TRUE(ColorProfile().isSRGB());
}

TEST(ColorProfile, MakesAGreyProfileOneForRGBThatLooksTheSame) {
    ProfileMaker maker;
    for (const ICC& gray :
         {maker.gray(L"Grau für Töne", 1.8), maker.gray(L"sRGB look", 1.0), maker.gray(L"", 2.2)}) {
        const ColorProfile profile = profileOf(gray);
        const ICC rgb = profile.iccForRGB();
        EXPECT_EQ(profileOf(rgb).name(), profile.name());
        for (const int value : {0, 30, 128, 200, 255}) {
            const cmsCIEXYZ expected = maker.neutral(gray, TYPE_GRAY_8, static_cast<std::uint8_t>(value));
            const cmsCIEXYZ actual = maker.neutral(rgb, TYPE_RGB_8, static_cast<std::uint8_t>(value));
            EXPECT_NEAR(actual.X, expected.X, 0.001) << profile.name() << " " << value;
            EXPECT_NEAR(actual.Y, expected.Y, 0.001) << profile.name() << " " << value;
            EXPECT_NEAR(actual.Z, expected.Z, 0.001) << profile.name() << " " << value;
        }
    }
}

TEST(ColorProfile, NamesCodePointsAndMakesProfilesThatBearTheName) {
    struct Case {
        std::uint16_t primaries;
        std::uint16_t transfer;
        const char* name;
        bool hasICC;
    };
    constexpr std::array cases = {
        Case{1, 13, "sRGB IEC61966-2.1", false},
        Case{2, 2, "sRGB IEC61966-2.1", false},
        Case{1, 2, "sRGB IEC61966-2.1", false},
        Case{12, 13, "Display P3", true},
        Case{1, 1, "ITU-R BT.709", true},
        Case{1, 6, "ITU-R BT.709", true},
        Case{9, 1, "BT.2020", true},
        Case{9, 15, "BT.2020", true},
        Case{9, 16, "BT.2020 PQ", false},
        Case{9, 18, "BT.2020 HLG", false},
        Case{12, 16, "P3 D65 PQ", false},
        Case{1, 8, "CICP 1/8", true},
        Case{7, 4, "CICP 6/4", true},
        Case{65535, 13, "CICP 65535/13", false},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.name);
        const CodePoints stated = {expected.primaries, expected.transfer, 6, false};
        const ColorProfile profile = ColorProfile::fromCodePoints(stated);
        EXPECT_EQ(profile.name(), expected.name);
        EXPECT_EQ(profile.codePoints(), stated);
        EXPECT_EQ(profile.isSRGB(), normalized(profile.name()).find("srgb") != std::string::npos);
        const ICC icc = profile.iccForRGB();
        ASSERT_EQ(!icc.empty(), expected.hasICC);
        if (expected.hasICC) {
            EXPECT_EQ(profileOf(icc).name(), expected.name);
            EXPECT_EQ(profileOf(icc).iccForRGB(), icc);
        }
    }
}

TEST(ColorProfile, MakesTheSameProfileAtAnyTimeWithTheRightLight) {
    ProfileMaker maker;
    const ICC icc = ColorProfile::fromCodePoints({1, 1, 2, true}).iccForRGB();
    EXPECT_EQ(ColorProfile::fromCodePoints({1, 1, 2, true}).iccForRGB(), icc);
    std::tm created{};
    ASSERT_TRUE(cmsGetHeaderCreationDateTime(maker.open(icc).get(), &created));
    EXPECT_EQ(created.tm_year, 100);
    // BT.709 shows half as the 1 ÷ 0.45th power of (0.5 + 0.0993) ÷ 1.0993.
    const cmsCIEXYZ middle = maker.neutral(icc, TYPE_RGB_8, 128);
    EXPECT_NEAR(middle.Y, std::pow((128.0 / 255 + 0.0993) / 1.0993, 1 / 0.45), 0.001);
    EXPECT_NEAR(maker.neutral(ColorProfile::fromGamma(0.5, {}).iccForRGB(), TYPE_RGB_8, 128).Y, 0.25196,
                0.001);
}

TEST(ColorProfile, NamesGammaAndPrimariesThatAreNotThoseOfSRGB) {
    const auto sRGB = chromaticities({0.3127, 0.329, 0.64, 0.33, 0.3, 0.6, 0.15, 0.06});
    const auto rounded = chromaticities({0.31269, 0.32899, 0.63999, 0.33001, 0.3, 0.6, 0.15, 0.05999});
    const auto other = chromaticities(adobe);
    const std::string primaries = "rimaries 0.3127 0.329 0.64 0.33 0.21 0.71 0.15 0.06";
    struct Case {
        std::optional<double> gamma;
        std::optional<Chromaticities> chromaticities;
        std::string name;
    };
    const std::vector<Case> cases = {
        {{}, {}, "sRGB IEC61966-2.1"},
        {0.45455, {}, "sRGB IEC61966-2.1"},
        {0.45, sRGB, "sRGB IEC61966-2.1"},
        {{}, rounded, "sRGB IEC61966-2.1"},
        {0.0, {}, "sRGB IEC61966-2.1"},
        {1.0, {}, "Gamma 1.0"},
        {0.55556, sRGB, "Gamma 0.55556"},
        {0.44, {}, "Gamma 0.44"},
        {{}, other, "P" + primaries},
        {0.45455, other, "Gamma 0.45455, p" + primaries},
        {1.0, other, "Gamma 1.0, p" + primaries},
    };
    for (const Case& expected : cases) {
        const ColorProfile profile = ColorProfile::fromGamma(expected.gamma, expected.chromaticities);
        EXPECT_EQ(profile.name(), expected.name);
        const ICC icc = profile.iccForRGB();
        ASSERT_EQ(icc.empty(), profile.isSRGB()) << expected.name;
        EXPECT_TRUE(icc.empty() || profileOf(icc).name() == expected.name) << expected.name;
    }
}

TEST(ColorProfile, GivesAbsurdStatementsANameButNoProfile) {
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    constexpr double endless = std::numeric_limits<double>::infinity();
    for (const double gamma : {1e-5, 21474.0, -0.5, none, endless}) {
        EXPECT_TRUE(ColorProfile::fromGamma(gamma, {}).iccForRGB().empty()) << gamma;
    }
    for (const auto& xy : {std::array<double, 8>{0.3127, 0.3290, 0.64, 0.33, 0.64, 0.33, 0.64, 0.33},
                           {0.3127, 0.3290, 0.7469, 0.8925, 0.7667, 0.8767, 0.7315, 0.91},
                           {0, 0, 0, 0, 0, 0, 0, 0},
                           {0.3127, 0.3290, 0.64, 0, 0.3, 0.6, 0.15, 0.06},
                           {none, none, none, none, none, none, none, none},
                           {0.3127, 0.3290, 21474, 21474, 0.3, 0.6, endless, 0.06}}) {
        const ColorProfile profile = ColorProfile::fromGamma(1.0, chromaticities(xy));
        EXPECT_TRUE(profile.iccForRGB().empty()) << profile.name();
        EXPECT_FALSE(profile.isSRGB());
    }
}

TEST(ColorProfile, TakesNoBrokenICCAndSurvivesFlippedBits) {
    ProfileMaker maker;
    for (const ICC& whole : {maker.rgb(L"Some RGB", adobe, 2.2), maker.gray(L"Some grey", sRGBCurve)}) {
        for (std::size_t size = 0; size < whole.size(); ++size) {
            ASSERT_FALSE(ColorProfile::fromICC(std::span(whole).first(size))) << size;
        }
        for (std::size_t i = 0; i < std::min<std::size_t>(whole.size(), 800); ++i) {
            for (const unsigned flip : {0x01U, 0x80U}) {
                ICC damaged = whole;
                damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ flip);
                const auto profile = ColorProfile::fromICC(damaged);
                ASSERT_TRUE(!profile || (!profile->name().empty() && isUTF8(profile->name()))) << i;
            }
        }
    }
    ICC large = maker.rgb(L"Some RGB", adobe, 2.2);
    large.resize(std::size_t{16} << 20);
    EXPECT_TRUE(ColorProfile::fromICC(large));
    large.push_back(0);
    EXPECT_FALSE(ColorProfile::fromICC(large));
    EXPECT_FALSE(ColorProfile::fromICC(ICC(1000, 'x')));
}

} // namespace tarnwick
