#include "Foundation/CompressionError.h"
#include "Inspection/ImageFacts.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <unordered_set>
#include <utility>

namespace tarnwick::test {
namespace {

TEST(ImageKindTest, IsTheKindThatTheNameSays) {
    EXPECT_EQ(ImageKind::from(URL::file("/a/photo.JPG")), ImageKind::jpeg);
    EXPECT_EQ(ImageKind::from(URL::file("/a/photo.jpeg")), ImageKind::jpeg);
    EXPECT_EQ(ImageKind::from(URL::file("/a.gif/photo.heif")), ImageKind::heic);
    for (const char* name : {"/a/x.webp", "/a/png", "/a/.png", "/a/x.png.", "/a.gif/x"}) {
        EXPECT_FALSE(ImageKind::from(URL::file(name))) << name;
    }
    std::unordered_set<ImageKind> kinds;
    for (const ImageKind::Value kind : ImageKind::allCases) {
        EXPECT_EQ(ImageKind::fromRawValue(ImageKind(kind).rawValue()), kind);
        kinds.insert(kind);
    }
    EXPECT_EQ(kinds.size(), 4U);
    EXPECT_FALSE(ImageKind::fromRawValue("PNG"));
}

TEST(ImageFactsTest, RefusesWhatIsNoWholePicture) {
    const TemporaryFolder folder;
    createDirectories(folder / "folder.png");
    const std::string photo = pictureText("photo.png");
    for (const URL& url :
         {folder.file("text.png", "no picture"), folder.file("empty.gif", ""), folder / "missing.png",
          folder.file("cut.png", photo.substr(0, photo.size() - 20)), folder.file("photo.webp", photo),
          folder.file("photo", photo), folder.url(), folder / "folder.png"}) {
        try {
            ImageFacts::inspect(url);
            ADD_FAILURE() << url.path();
        } catch (const CompressionError& error) {
            EXPECT_EQ(error.errorCase(), CompressionError::Case::invalidImage) << url.path();
        }
    }
}

ImageFacts still(ImageKind kind, std::optional<std::string> profile, std::int64_t orientation = 1) {
    return {
        .kind = kind, .width = 4, .height = 3, .profileName = std::move(profile), .orientation = orientation};
}

TEST(ImageFactsTest, ComparesGeometryAndOrientation) {
    const ImageFacts reference = still(ImageKind::png, "sRGB");
    EXPECT_FALSE(reference.compatible(still(ImageKind::jpeg, "sRGB"), false));
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
    struct Row {
        std::optional<std::string> from;
        std::optional<std::string> to;
        bool plain;
        bool allowingSRGB;
    };
    for (const Row& row : {Row{"sRGB", "sRGB IEC61966-2.1", true, true},
                           {"Display P3", "sRGB IEC61966-2.1", false, true},
                           {"sRGB", "Display P3", false, false},
                           {"Display P3", "display p3", true, true},
                           {"Adobe RGB (1998)", "Adobe RGB (1998)", true, true},
                           {"Adobe RGB (1998)", "adobe rgb (1998)", false, false},
                           {"Adobe RGB (1998)", "sRGB", false, false},
                           {"Gamma 1.0", std::nullopt, false, false},
                           {std::nullopt, "sRGB", false, false},
                           {std::nullopt, std::nullopt, true, true}}) {
        SCOPED_TRACE(row.from.value_or("none") + " to " + row.to.value_or("none"));
        const auto compatible = [&](ImageKind kind, std::int64_t orientation, bool allowsSRGB) {
            return still(kind, row.from).compatible(still(kind, row.to, orientation), allowsSRGB);
        };
        EXPECT_EQ(compatible(ImageKind::png, 1, false), row.plain);
        EXPECT_EQ(compatible(ImageKind::png, 1, true), row.allowingSRGB);
        EXPECT_FALSE(compatible(ImageKind::png, 3, true));
        EXPECT_EQ(compatible(ImageKind::jpeg, 1, true), row.plain);
    }
}

TEST(ImageFactsTest, ComparesTheTimingOfAnimations) {
    const auto animation = [](std::optional<std::int64_t> loops, const std::vector<double>& delays) {
        ImageFacts facts = still(ImageKind::gif, std::nullopt);
        facts.gifLoopCount = loops;
        facts.gifFrameDelays = delays;
        return facts;
    };
    const ImageFacts reference = animation(0, {0.1, 0.5});
    const ImageFacts unlooped = animation(std::nullopt, {0.1, 0.5});
    EXPECT_TRUE(reference.compatible(animation(0, {0.100001, 0.499999}), false));
    EXPECT_TRUE(unlooped.compatible(unlooped, false));
    EXPECT_FALSE(unlooped.compatible(reference, false));
    for (const ImageFacts& other : {unlooped, animation(0, {0.1000011, 0.5}), animation(0, {0.1, 0.4999989}),
                                    animation(0, {0.1}), animation(1, {0.1, 0.5})}) {
        EXPECT_FALSE(reference.compatible(other, false));
    }

    ImageFacts other = reference;
    other.profileName = "Display P3";
    other.orientation = 6;
    EXPECT_TRUE(reference.compatible(other, false)) << "only the timing counts";
    EXPECT_FALSE(reference == other);
}

} // namespace
} // namespace tarnwick::test
