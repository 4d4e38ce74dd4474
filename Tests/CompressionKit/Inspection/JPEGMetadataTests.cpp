#include "Foundation/CompressionError.h"
#include "ImageIO/ImageSource.h"
#include "Inspection/ImageFacts.h"
#include "Inspection/JPEGMetadata.h"
#include "Support/JPEGMaker.h"
#include "Support/PNGMaker.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace tarnwick {
namespace {

using namespace std::string_literals;
using test::contents;

std::string segment(char marker, const std::string& payload) {
    const std::size_t length = payload.size() + 2;
    return "\xFF"s + marker + static_cast<char>(length >> 8U) + static_cast<char>(length & 0xFFU) + payload;
}

/// One Multi-Picture index; `little` is its byte order.
struct Index {
    bool little = false;
    unsigned tag = 0xB001;
    unsigned type = 4;
    unsigned count = 1;
    unsigned value = 2;
    unsigned entries = 1;
    unsigned offset = 8;
    unsigned magic = 42;

    std::string number(unsigned value_, int bytes) const {
        std::string text;
        for (int i = 0; i < bytes; ++i) {
            const int shift = 8 * (little ? i : bytes - 1 - i);
            text += static_cast<char>(value_ >> static_cast<unsigned>(shift));
        }
        return text;
    }
    std::string payload() const {
        return "MPF\0"s + (little ? "II" : "MM") + number(magic, 2) + number(offset, 4) + number(entries, 2) +
               number(tag, 2) + number(type, 2) + number(count, 4) + number(value, 4) + number(0, 4);
    }
};

class JPEGMetadataTests : public testing::Test {
protected:
    bool isMulti(const std::string& payload, char marker = '\xE2') const {
        return isMultiFile(segment(marker, payload) + "\xFF\xD9");
    }
    bool isMultiFile(const std::string& afterStart) const {
        return JPEGMetadata::hasMultiplePictures(folder.file("x.jpg", "\xFF\xD8" + afterStart));
    }
    std::optional<CompressionError::Case> failureOfPreserving(std::int64_t orientation,
                                                              const URL& url) const {
        try {
            JPEGMetadata::preserveOrientation(orientation, url);
        } catch (const CompressionError& error) {
            return error.errorCase();
        }
        return std::nullopt;
    }

    test::TemporaryFolder folder;
};

TEST_F(JPEGMetadataTests, findsAnnouncedPictures) {
    EXPECT_TRUE(isMulti(Index{}.payload()));
    EXPECT_TRUE(isMulti(Index{.little = true}.payload()));
    EXPECT_TRUE(isMulti(Index{.value = 0x01000000}.payload()));
    EXPECT_FALSE(isMulti(Index{.value = 1}.payload()));
    EXPECT_FALSE(isMulti(Index{.tag = 0xB000}.payload()));
    EXPECT_FALSE(isMulti(Index{.type = 3}.payload()));
    EXPECT_FALSE(isMulti(Index{.count = 2}.payload()));
    EXPECT_FALSE(isMulti(Index{.magic = 43}.payload()));
    EXPECT_FALSE(isMulti(Index{.entries = 2}.payload())) << "more entries than there is room for";
    EXPECT_FALSE(isMulti(Index{.offset = 0xFFFFFFFF}.payload()));
    EXPECT_FALSE(isMulti(Index{}.payload(), '\xE1'));
    EXPECT_FALSE(isMulti("MPF\0MM\0*\0\0\0\x08\0\0\0"s)) << "a segment of 17 bytes";
    EXPECT_FALSE(isMulti("ICC_PROFILE\0 and more bytes"s));
    EXPECT_FALSE(isMultiFile("\xFF\xD9"));
    EXPECT_FALSE(JPEGMetadata::hasMultiplePictures(folder / "missing.jpg"));
}

TEST_F(JPEGMetadataTests, asksLaterIndicesWhenOneSaysNothing) {
    const std::string silent = segment('\xE2', Index{.type = 3}.payload());
    EXPECT_TRUE(isMultiFile(silent + segment('\xE2', Index{}.payload())));
    EXPECT_FALSE(
        isMultiFile(segment('\xE2', Index{.magic = 0}.payload()) + segment('\xE2', Index{}.payload())));
}

TEST_F(JPEGMetadataTests, survivesAnyDamage) {
    const std::string whole =
        segment('\xE2', Index{.entries = 3, .offset = 8}.payload() + std::string(24, '\0'));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(isMultiFile(whole.substr(0, size)));
    }
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string changed = whole;
        changed[at] = '\xFF';
        isMultiFile(changed);
    }
}

TEST_F(JPEGMetadataTests, writesTheOrientationWhereItIsMissingOrWrong) {
    const URL plain = folder / "plain.jpg";
    test::writeJPEG(plain);
    const std::string bytes = contents(plain);
    JPEGMetadata::preserveOrientation(1, plain);
    EXPECT_EQ(contents(plain), bytes);

    JPEGMetadata::preserveOrientation(6, plain);
    EXPECT_EQ(contents(plain), "\xFF\xD8\xFF\xE1\x00\x22"
                               "Exif\0\0II\x2A\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0"s +
                                   bytes.substr(2));
    EXPECT_EQ(ImageFacts::inspect(plain).orientation, 6);
    EXPECT_TRUE(ImageFacts::pixelsEqual(plain, folder.file("before.jpg", bytes)));

    const std::string turned = contents(plain);
    JPEGMetadata::preserveOrientation(6, plain);
    EXPECT_EQ(contents(plain), turned);
    JPEGMetadata::preserveOrientation(3, plain);
    EXPECT_EQ(contents(plain).size(), turned.size()) << "the old segment must go";
    EXPECT_EQ(ImageFacts::inspect(plain).orientation, 3);
}

TEST_F(JPEGMetadataTests, replacesEveryExifSegmentAndKeepsAllOthers) {
    test::JPEGOptions options;
    options.orientation = 1;
    options.comment = "kept";
    test::writeJPEG(folder / "x.jpg", options);
    const std::string bytes = contents(folder / "x.jpg");
    const std::string second = segment('\xE1', "Exif\0\0second"s);
    const std::string xmp = segment('\xE1', "http://ns.adobe.com/xap/1.0/\0<x/>"s);
    const URL file = folder.file("x.jpg", bytes.substr(0, 2) + xmp + second + "\xFF" + bytes.substr(2));

    JPEGMetadata::preserveOrientation(8, file);

    const std::string written = contents(file);
    EXPECT_EQ(ImageFacts::inspect(file).orientation, 8);
    EXPECT_EQ(written.find("Exif"), written.rfind("Exif"));
    EXPECT_EQ(written.find("Exif"), 6U) << "it comes first";
    EXPECT_NE(written.find(xmp), std::string::npos);
    EXPECT_NE(written.find("kept"), std::string::npos);
    EXPECT_TRUE(ImageFacts::pixelsEqual(file, folder.file("before.jpg", bytes)));
}

TEST_F(JPEGMetadataTests, leavesRefusedFilesAlone) {
    const URL jpeg = folder / "x.jpg";
    test::writeJPEG(jpeg);
    const std::string bytes = contents(jpeg);
    for (const std::int64_t orientation : {0, 9, -1}) {
        EXPECT_EQ(failureOfPreserving(orientation, jpeg), CompressionError::Case::validationFailed);
    }
    EXPECT_EQ(contents(jpeg), bytes);
    test::writePNG(folder / "x.png");
    EXPECT_EQ(failureOfPreserving(6, folder / "x.png"), CompressionError::Case::invalidImage);
    EXPECT_EQ(failureOfPreserving(6, folder.file("text.jpg", "text")), CompressionError::Case::invalidImage);
    EXPECT_EQ(failureOfPreserving(6, folder / "missing.jpg"), CompressionError::Case::invalidImage);
    EXPECT_EQ(folder.listing(), "text.jpg x.jpg x.png");
}

} // namespace
} // namespace tarnwick
