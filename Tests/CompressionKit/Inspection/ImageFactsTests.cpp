#include "Foundation/CompressionError.h"
#include "Inspection/ImageFacts.h"
#include "Support/JPEGMaker.h"
#include "Support/PNGMaker.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <unordered_set>

namespace tarnwick {
namespace {

using test::TemporaryFolder;

std::optional<CompressionError::Case> refusal(const URL& url) {
    try {
        ImageFacts::inspect(url);
    } catch (const CompressionError& error) {
        return error.errorCase();
    }
    return std::nullopt;
}

TEST(ImageKindTests, goesByTheName) {
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

TEST(ImageFactsTests, refusesWhatIsNotWhatItsNameSays) {
    const TemporaryFolder folder;
    test::JPEGOptions turned;
    turned.orientation = 6;
    test::writeJPEG(folder / "a.png", turned);
    test::writePNG(folder / "a.jpg");
    EXPECT_EQ(refusal(folder / "a.png"), CompressionError::Case::formatMismatch);
    EXPECT_EQ(refusal(folder / "a.jpg"), CompressionError::Case::formatMismatch);
    EXPECT_EQ(refusal(folder.file("webp.jpg", "RIFF\1\2\3\4WEBPVP8 ")),
              CompressionError::Case::formatMismatch);
    EXPECT_EQ(refusal(folder.file("avif.heic", std::string("\0\0\0\x18"
                                                           "ftypavif\0\0\0\0mif1miaf",
                                                           24))),
              CompressionError::Case::formatMismatch);
    for (const URL& url :
         {folder.file("text.png", "no picture"), folder.file("empty.gif", ""), folder / "missing.png",
          folder.file("x.webp", "RIFF\1\2\3\4WEBPVP8 "), folder.url()}) {
        EXPECT_EQ(refusal(url), CompressionError::Case::invalidImage) << url.path();
    }
    createDirectories(folder / "folder.png");
    EXPECT_EQ(refusal(folder / "folder.png"), CompressionError::Case::invalidImage);
}

TEST(ImageFactsTests, tellsTheStructure) {
    const TemporaryFolder folder;
    test::JPEGOptions jpeg;
    jpeg.orientation = 6;
    test::writeJPEG(folder / "turned.JPG", jpeg);
    EXPECT_EQ(ImageFacts::inspect(folder / "turned.JPG"), (ImageFacts{.kind = ImageKind::jpeg,
                                                                      .width = 32,
                                                                      .height = 24,
                                                                      .profileName = "sRGB IEC61966-2.1",
                                                                      .orientation = 6}));
    test::PNGOptions png;
    png.color = test::PNGColor::rgba;
    png.animationFrames = 3;
    test::writePNG(folder / "animated.png", png);
    EXPECT_EQ(ImageFacts::inspect(folder / "animated.png"), (ImageFacts{.kind = ImageKind::png,
                                                                        .width = 32,
                                                                        .height = 24,
                                                                        .frameCount = 3,
                                                                        .hasAlpha = true,
                                                                        .profileName = "sRGB IEC61966-2.1"}));
}

TEST(ImageFactsTests, refusesAPictureCutAnywhere) {
    const TemporaryFolder folder;
    for (const auto& [name, bytes] :
         {std::pair("cut.png", test::pngBytes({})), std::pair("cut.jpg", test::jpegBytes({}))}) {
        const std::string whole(bytes.begin(), bytes.end());
        for (std::size_t size = 0; size < whole.size(); size += 7) {
            EXPECT_EQ(refusal(folder.file(name, whole.substr(0, size))), CompressionError::Case::invalidImage)
                << name << " cut to " << size;
        }
        EXPECT_EQ(refusal(folder.file(name, whole)), std::nullopt);
    }
}

ImageFacts still(ImageKind kind, std::optional<std::string> profile, std::int64_t orientation = 1) {
    return {
        .kind = kind, .width = 4, .height = 3, .profileName = std::move(profile), .orientation = orientation};
}

ImageFacts animation(std::optional<std::int64_t> loops, const std::vector<double>& delays) {
    return {.kind = ImageKind::gif,
            .width = 4,
            .height = 3,
            .frameCount = static_cast<std::int64_t>(delays.size()),
            .profileName = std::nullopt,
            .gifLoopCount = loops,
            .gifFrameDelays = delays};
}

TEST(ImageFactsTests, comparesGeometryAndColourSpace) {
    const ImageFacts reference = still(ImageKind::png, "sRGB");
    EXPECT_TRUE(reference.compatible(still(ImageKind::png, "sRGB IEC61966-2.1"), false));
    EXPECT_FALSE(reference.compatible(still(ImageKind::jpeg, "sRGB"), false));
    EXPECT_FALSE(reference.compatible(still(ImageKind::png, "sRGB", 6), false));
    for (auto member : {&ImageFacts::width, &ImageFacts::height, &ImageFacts::frameCount}) {
        ImageFacts other = reference;
        other.*member += 1;
        EXPECT_FALSE(reference.compatible(other, true));
    }
    ImageFacts withAlpha = reference;
    withAlpha.hasAlpha = true;
    EXPECT_TRUE(reference.compatible(withAlpha, false));

    struct Row {
        std::optional<std::string> from;
        std::optional<std::string> to;
        bool plain;
        bool allowingSRGB;
    };
    const std::vector<Row> rows = {
        {"Display P3", "sRGB IEC61966-2.1", false, true},
        {"sRGB", "Display P3", false, false},
        {"Display P3", "display p3", true, true},
        {"Adobe RGB (1998)", "Adobe RGB (1998)", true, true},
        {"Adobe RGB (1998)", "adobe rgb (1998)", false, false},
        {"Adobe RGB (1998)", "sRGB", false, false},
        {"Gamma 1.0", std::nullopt, false, false},
        {std::nullopt, "sRGB", false, false},
        {std::nullopt, std::nullopt, true, true},
    };
    for (const Row& row : rows) {
        const std::string what = row.from.value_or("none") + " to " + row.to.value_or("none");
        const ImageFacts from = still(ImageKind::png, row.from);
        EXPECT_EQ(from.compatible(still(ImageKind::png, row.to), false), row.plain) << what;
        EXPECT_EQ(from.compatible(still(ImageKind::png, row.to), true), row.allowingSRGB) << what;
        EXPECT_FALSE(from.compatible(still(ImageKind::png, row.to, 3), true)) << what;
        EXPECT_EQ(still(ImageKind::jpeg, row.from).compatible(still(ImageKind::jpeg, row.to), true),
                  row.plain)
            << what;
    }
}

TEST(ImageFactsTests, comparesTheTimingOfAnimations) {
    const ImageFacts reference = animation(0, {0.1, 0.5});
    EXPECT_TRUE(reference.compatible(animation(0, {0.100001, 0.5}), false));
    EXPECT_TRUE(reference.compatible(animation(0, {0.1, 0.499999}), false));
    EXPECT_FALSE(reference.compatible(animation(0, {0.1000011, 0.5}), false));
    EXPECT_FALSE(reference.compatible(animation(1, {0.1, 0.5}), false));
    EXPECT_FALSE(reference.compatible(animation(std::nullopt, {0.1, 0.5}), false));
    EXPECT_FALSE(animation(std::nullopt, {0.1}).compatible(animation(0, {0.1}), false));
    EXPECT_TRUE(animation(std::nullopt, {0.1}).compatible(animation(std::nullopt, {0.1}), false));

    ImageFacts otherwise = animation(0, {0.1, 0.5});
    otherwise.hasAlpha = true;
    otherwise.profileName = "Display P3";
    otherwise.orientation = 6;
    EXPECT_TRUE(reference.compatible(otherwise, false));
    EXPECT_FALSE(reference == otherwise);
}

} // namespace
} // namespace tarnwick
