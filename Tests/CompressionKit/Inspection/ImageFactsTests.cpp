#include "Foundation/CompressionError.h"
#include "Inspection/ImageFacts.h"
#include "Support/Failure.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <unordered_set>

namespace tarnwick::test {
namespace {

TEST(ImageKindTest, IsTheKindThatTheNameSays) {
    EXPECT_EQ(ImageKind::from(URL::file("/a/photo.JPG")), ImageKind::jpeg);
    EXPECT_EQ(ImageKind::from(URL::file("/a/photo.jpeg")), ImageKind::jpeg);
    EXPECT_EQ(ImageKind::from(URL::file("/a.gif/photo.heif")), ImageKind::heic);
    for (const char* name : {"/a/x.webp", "/a/png", "/a/.png", "/a/x.png.", "/a.gif/x"}) {
        EXPECT_FALSE(ImageKind::from(URL::file(name))) << name;
    }
    for (const ImageKind::Value kind : ImageKind::allCases) {
        EXPECT_EQ(ImageKind::fromRawValue(ImageKind(kind).rawValue()), kind);
    }
    EXPECT_FALSE(ImageKind::fromRawValue("PNG"));
    const auto& all = ImageKind::allCases;
    EXPECT_EQ(std::unordered_set<ImageKind>(all.begin(), all.end()).size(), 4U);
}

TEST(ImageFactsTest, RefusesWhatIsNoWholePicture) {
    const TemporaryFolder folder;
    createDirectories(folder / "folder.png");
    const std::string photo = pictureText("photo.png");
    for (const URL& url :
         {folder.file("text.png", "no picture"), folder.file("empty.gif", ""), folder / "missing.png",
          folder.file("cut.png", photo.substr(0, photo.size() - 20)), folder.file("photo.webp", photo),
          folder.file("photo", photo), folder.url(), folder / "folder.png"}) {
        EXPECT_EQ(failureOf([&] { ImageFacts::inspect(url); }), CompressionError::invalidImage().what())
            << url.path();
    }
}

ImageFacts factsOf(ImageKind kind, const std::optional<std::string>& profile = {}) {
    return {.kind = kind, .width = 4, .height = 3, .profileName = profile};
}

TEST(ImageFactsTest, ComparesGeometryAndOrientation) {
    const ImageFacts reference = factsOf(ImageKind::png, "sRGB");
    EXPECT_FALSE(reference.compatible(factsOf(ImageKind::jpeg, "sRGB"), false));
    for (auto member :
         {&ImageFacts::width, &ImageFacts::height, &ImageFacts::frameCount, &ImageFacts::orientation}) {
        ImageFacts other = reference;
        other.*member += 1;
        EXPECT_FALSE(reference.compatible(other, true));
    }
    ImageFacts withAlpha = reference;
    withAlpha.hasAlpha = withAlpha.hasJPEGMultiPictureData = true;
    EXPECT_TRUE(reference.compatible(withAlpha, false));
}

TEST(ImageFactsTest, ComparesColourSpacesByName) {
    using Name = std::optional<std::string>;
    for (const auto& [from, to, isPlain, isWithSRGB] :
         std::initializer_list<std::tuple<Name, Name, bool, bool>>{
             {"sRGB", "sRGB IEC61966-2.1", true, true},
             {"Display P3", "sRGB IEC61966-2.1", false, true},
             {"sRGB", "Display P3", false, false},
             {"Display P3", "display p3", true, true},
             {"Adobe RGB (1998)", "Adobe RGB (1998)", true, true},
             {"Adobe RGB (1998)", "adobe rgb (1998)", false, false},
             {"Adobe RGB (1998)", "sRGB", false, false},
             {"Gamma 1.0", std::nullopt, false, false},
             {std::nullopt, "sRGB", false, false},
             {std::nullopt, std::nullopt, true, true}}) {
        SCOPED_TRACE(from.value_or("none") + " to " + to.value_or("none"));
        const ImageFacts png = factsOf(ImageKind::png, from);
        EXPECT_EQ(png.compatible(factsOf(ImageKind::png, to), false), isPlain);
        EXPECT_EQ(png.compatible(factsOf(ImageKind::png, to), true), isWithSRGB);
        EXPECT_EQ(factsOf(ImageKind::jpeg, from).compatible(factsOf(ImageKind::jpeg, to), true), isPlain);
    }
}

TEST(ImageFactsTest, ComparesOnlyTheTimingOfAnimations) {
    const auto animation = [](std::optional<std::int64_t> loops, const std::vector<double>& delays) {
        ImageFacts facts = factsOf(ImageKind::gif);
        facts.gifLoopCount = loops;
        facts.gifFrameDelays = delays;
        return facts;
    };
    const ImageFacts reference = animation(0, {0.1, 0.5});
    const ImageFacts unlooped = animation(std::nullopt, {0.1, 0.5});
    EXPECT_TRUE(unlooped.compatible(unlooped, false));
    EXPECT_FALSE(unlooped.compatible(reference, false));
    for (const ImageFacts& other : {unlooped, animation(0, {0.1000011, 0.5}), animation(0, {0.1, 0.4999989}),
                                    animation(0, {0.1}), animation(1, {0.1, 0.5})}) {
        EXPECT_FALSE(reference.compatible(other, false));
    }
    ImageFacts other = animation(0, {0.100001, 0.499999});
    other.profileName = "Display P3";
    other.orientation = 6;
    EXPECT_TRUE(reference.compatible(other, false));
}

} // namespace
} // namespace tarnwick::test
