#include "Engine/HEICConversion.h"
#include "Foundation/FileOperations.h"
#include "Support/EngineFixture.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace tarnwick::test {
namespace {

using testing::IsEmpty;

class HEICConversionTest : public EngineFixture {
protected:
    /// Calls the body before the PNG gets its name; a result other than 0 is the error of this rename.
    static Fault beforePublishing(std::function<int(const SystemCall&)> body) {
        return Fault([body = std::move(body)](const SystemCall& call) {
            return call.name == "renameat2" ? body(call) : 0;
        });
    }

    const std::string heic = pictureText("photo.heic");
    const URL photo = original("photo.heic");
};

TEST_F(HEICConversionTest, WritesAnExactPNGBesideTheFile) {
    const auto result = compress(photo);
    EXPECT_EQ(result.outcome, CompressionOutcome::converted);
    EXPECT_EQ(result.url, pictures / "photo.png");
    EXPECT_EQ(result.encoder, "HEIC → PNG · 无损 PNG");
    EXPECT_EQ(result.qualityScore, std::nullopt);
    EXPECT_TRUE(ImageFacts::pixelsEqual(photo, result.url));
    EXPECT_EQ(contents(photo), heic);
    ASSERT_TRUE(result.undoRecord);
    EXPECT_EQ(store.readRecords(), std::vector{*result.undoRecord});
    EXPECT_EQ(result.undoRecord->convertedPath, result.url.path());
    EXPECT_EQ(result.undoRecord->state, UndoRecord::State::committed);
    store.restore(*result.undoRecord);
    EXPECT_EQ(pictures.listing(), "photo.heic");
    EXPECT_THAT(tools.runs(), IsEmpty());
}

TEST_F(HEICConversionTest, KeepsColoursAndAlphaAppliesTheOrientationAndReportsLostDepth) {
    const URL turned = original("orientation-6.heic");
    const ImageFacts stored = ImageFacts::inspect(turned);
    const ImageFacts facts = ImageFacts::inspect(compress(turned).url);
    EXPECT_NE(stored.width, stored.height);
    EXPECT_EQ(std::pair(facts.width, facts.height), std::pair(stored.height, stored.width));
    EXPECT_EQ(facts.orientation, 1);
    const auto deep = compress(original("nclx-p3-10.heic"));
    EXPECT_EQ(deep.encoder, "HEIC → PNG · 8 位 PNG");
    EXPECT_EQ(ImageFacts::inspect(deep.url).profileName, "Display P3");
    EXPECT_TRUE(ImageFacts::inspect(compress(original("alpha-8.heic")).url).hasAlpha);
}

TEST_F(HEICConversionTest, UsesTheFirstFreeName) {
    const URL other = pictures.file("photo.png", "another picture");
    EXPECT_EQ(compress(photo).url, pictures / "photo（塔维克1）.png");
    EXPECT_EQ(compress(photo).url, pictures / "photo（塔维克2）.png");
    EXPECT_EQ(contents(other), "another picture");
}

TEST_F(HEICConversionTest, NeverOverwritesANameThatWasTakenMeanwhile) {
    const Fault fault = beforePublishing([&](const SystemCall& call) {
        if (call.destination.ends_with("photo.png")) {
            pictures.file("photo.png", "new");
        }
        return 0;
    });
    const auto result = compress(photo);
    EXPECT_EQ(result.url, pictures / "photo（塔维克1）.png");
    EXPECT_EQ(contents(pictures / "photo.png"), "new");
    EXPECT_EQ(store.readRecords(), std::vector{*result.undoRecord}) << "one record a conversion";
}

TEST_F(HEICConversionTest, WorksWithoutTheExclusiveRename) {
    const Fault fault([](const SystemCall& call) {
        const bool isSecondName = call.name == "unlink" && call.path.ends_with("decoded.png");
        return call.name == "renameat2" ? EINVAL : isSecondName ? EIO : 0;
    });
    EXPECT_EQ(compress(photo).url, pictures / "photo.png");
    EXPECT_EQ(pictures.listing(), "photo.heic photo.png");
}

} // namespace
} // namespace tarnwick::test
