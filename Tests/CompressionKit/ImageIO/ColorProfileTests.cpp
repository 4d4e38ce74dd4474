#include "Foundation/Text.h"
#include "ImageIO/ColorProfile.h"
#include "ImageIO/LittleCMS.h"
#include "Support/Pictures.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace tarnwick {
namespace {

using ICC = std::vector<std::uint8_t>;

constexpr std::array<double, 8> adobe = {0.3127, 0.3290, 0.64, 0.33, 0.21, 0.71, 0.15, 0.06};
ICC icc(const std::string& name) {
    return test::pictureBytes(name + ".icc");
}

/// The same bytes with another class and colour space.
ICC relabelled(ICC icc, const char* deviceClass, const char* space) {
    std::copy_n(deviceClass, 4, icc.begin() + 12);
    std::copy_n(space, 4, icc.begin() + 16);
    return icc;
}

class ColorProfileTest : public testing::Test {
protected:
    ProfileHandle open(const ICC& icc) {
        return ProfileHandle(
            cmsOpenProfileFromMemTHR(context_.get(), icc.data(), static_cast<cmsUInt32Number>(icc.size())));
    }
    /// The colour of a neutral pixel in the profile connection space.
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

/// The form of the name by which pictures are compared.
std::string normalized(const std::string& name) {
    std::string key = lowercasedASCII(name);
    std::erase(key, ' ');
    return key;
}

} // namespace

TEST_F(ColorProfileTest, NamesAnICCProfileByItsDescriptionUnlessItIsAKnownSpace) {
    std::set<std::string> names;
    for (const auto& row : nlohmann::json::parse(test::pictureText("pictures.json"))) {
        const std::string file = row["file"];
        if (file.ends_with(".icc")) {
            const ColorProfile profile = profileOf(test::pictureBytes(file));
            EXPECT_EQ(row["profile"], profile.name()) << file;
            EXPECT_EQ(profile.isSRGB(), normalized(profile.name()).find("srgb") != std::string::npos);
            names.insert(profile.name());
        }
    }
    EXPECT_GT(names.size(), 20U);
}

TEST_F(ColorProfileTest, EmbedsForRGBWhatFitsTheDecodedPixels) {
    const ICC wide = icc("wide-gamut");
    EXPECT_EQ(profileOf(wide).iccForRGB(), wide);
    EXPECT_TRUE(profileOf(relabelled(wide, "prtr", "CMYK")).iccForRGB().empty());
    EXPECT_TRUE(profileOf(relabelled(wide, "link", "RGB ")).iccForRGB().empty());
    EXPECT_TRUE(profileOf(icc("grey-scanner")).iccForRGB().empty());
    EXPECT_TRUE(ColorProfile::genericCMYK().iccForRGB().empty());
    EXPECT_EQ(ColorProfile::genericCMYK().name(), "Generic CMYK Profile");
    EXPECT_TRUE(ColorProfile().iccForRGB().empty());
    EXPECT_TRUE(ColorProfile().isSRGB());
}

TEST_F(ColorProfileTest, MakesAGreyProfileOneForRGBThatLooksTheSame) {
    for (const char* name : {"grey-1.8", "grey-linear", "grey-nameless"}) {
        const ICC grey = icc(name);
        const ColorProfile profile = profileOf(grey);
        const ICC rgb = profile.iccForRGB();
        EXPECT_EQ(profileOf(rgb).name(), profile.name());
        for (const std::uint8_t value : std::initializer_list<std::uint8_t>{0, 30, 128, 200, 255}) {
            const cmsCIEXYZ expected = neutral(grey, TYPE_GRAY_8, value);
            const cmsCIEXYZ actual = neutral(rgb, TYPE_RGB_8, value);
            EXPECT_NEAR(actual.X, expected.X, 0.001) << name << " " << int{value};
            EXPECT_NEAR(actual.Y, expected.Y, 0.001) << name << " " << int{value};
            EXPECT_NEAR(actual.Z, expected.Z, 0.001) << name << " " << int{value};
        }
    }
}

TEST_F(ColorProfileTest, NamesCodePointsAndMakesProfilesThatBearTheName) {
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

TEST_F(ColorProfileTest, MakesTheSameProfileAtAnyTimeWithTheRightLight) {
    const ICC icc = ColorProfile::fromCodePoints({1, 1, 2, true}).iccForRGB();
    EXPECT_EQ(ColorProfile::fromCodePoints({1, 1, 2, true}).iccForRGB(), icc);
    std::tm created{};
    ASSERT_TRUE(cmsGetHeaderCreationDateTime(open(icc).get(), &created));
    EXPECT_EQ(created.tm_year, 100);
    // BT.709's curve: ((value + 0.0993) ÷ 1.0993) to the power of 1 ÷ 0.45.
    const cmsCIEXYZ middle = neutral(icc, TYPE_RGB_8, 128);
    EXPECT_NEAR(middle.Y, std::pow((128.0 / 255 + 0.0993) / 1.0993, 1 / 0.45), 0.001);
    EXPECT_NEAR(neutral(ColorProfile::fromGamma(0.5, {}).iccForRGB(), TYPE_RGB_8, 128).Y, 0.25196, 0.001);
}

TEST_F(ColorProfileTest, NamesGammaAndPrimariesThatAreNotThoseOfSRGB) {
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

TEST_F(ColorProfileTest, GivesAbsurdStatementsANameButNoProfile) {
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

TEST_F(ColorProfileTest, TakesNoBrokenICC) {
    for (const ICC& whole : {icc("adobe"), icc("grey-scanner")}) {
        for (std::size_t size = 0; size < whole.size(); ++size) {
            ASSERT_FALSE(ColorProfile::fromICC(std::span(whole).first(size))) << size;
        }
    }
    ICC large = icc("adobe");
    large.resize(std::size_t{16} << 20);
    EXPECT_TRUE(ColorProfile::fromICC(large));
    large.push_back(0);
    EXPECT_FALSE(ColorProfile::fromICC(large));
    EXPECT_FALSE(ColorProfile::fromICC(ICC(1000, 'x')));
}

} // namespace tarnwick
