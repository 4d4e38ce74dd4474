#include "Inspection/ImageFacts.h"
#include "Support/JPEGMaker.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnwick {
namespace {

using namespace std::string_literals;

std::string segment(char marker, const std::string& payload) {
    const std::size_t length = payload.size() + 2;
    return "\xFF"s + marker + static_cast<char>(length >> 8U) + static_cast<char>(length & 0xFFU) + payload;
}

std::string tables(const std::string& payload) {
    return segment('\xDB', payload);
}
std::string table(char header, const std::string& entries) {
    return header + entries;
}

class JPEGQuantizationTests : public testing::Test {
protected:
    bool isFine(const std::string& afterStart) const {
        return ImageFacts::hasFineJPEGQuantization(folder.file("x.jpg", "\xFF\xD8" + afterStart));
    }

    test::TemporaryFolder folder;
    const std::string ones = std::string(64, '\1');
    const std::string twos = std::string(64, '\2');
    const std::string coarse = std::string(64, '\20');
    const std::string end = "\xFF\xD9";
};

TEST_F(JPEGQuantizationTests, judgesTheMeanOfTheFirstLuminanceTable) {
    EXPECT_TRUE(isFine(tables(table(0, ones)) + end));
    EXPECT_TRUE(isFine(tables(table(0, twos)) + end));
    EXPECT_FALSE(isFine(tables(table(0, "\3" + twos.substr(1))) + end));
    EXPECT_FALSE(isFine(tables(table(0, std::string(64, '\0'))) + end));
    std::string wide;
    for (int i = 0; i < 64; ++i) {
        wide += "\0\1"s;
    }
    EXPECT_TRUE(isFine(tables(table('\x10', wide)) + end));
    EXPECT_FALSE(isFine(tables(table('\x10', "\1\0"s + wide.substr(2))) + end));
    // The first table 0 decides, wherever it stands.
    EXPECT_TRUE(isFine(tables(table(1, coarse) + table(0, ones)) + tables(table(0, coarse)) + end));
    EXPECT_FALSE(isFine(tables(table(1, ones)) + tables(table(0, coarse)) + end));
}

TEST_F(JPEGQuantizationTests, walksOverOtherMarkers) {
    const std::string fine = tables(table(0, ones));
    EXPECT_TRUE(isFine(segment('\xE0', "JFIF") + "\xFF\xFF\xFF" + fine.substr(1) + end));
    EXPECT_TRUE(isFine("\xFF\x01\xFF\xD0"s + fine + end));
    EXPECT_FALSE(isFine(end + fine));
    EXPECT_FALSE(isFine(segment('\xDA', "scan") + fine));
    EXPECT_FALSE(isFine("x" + fine));
}

TEST_F(JPEGQuantizationTests, takesNothingFromMalformedFiles) {
    EXPECT_FALSE(isFine(tables(table(1, ones)) + end));
    EXPECT_FALSE(isFine(tables(table(' ', ones)) + end)) << "a precision of 2";
    EXPECT_FALSE(isFine(tables(table(0, ones.substr(1))) + end)) << "a table cut short";
    EXPECT_FALSE(isFine("\xFF\xDB\x00\x01"s + end));
    const std::string whole = tables(table(0, ones));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(isFine(whole.substr(0, size))) << size;
    }
    EXPECT_FALSE(ImageFacts::hasFineJPEGQuantization(folder / "missing.jpg"));
    EXPECT_FALSE(ImageFacts::hasFineJPEGQuantization(folder.file("png", "\x89PNG")));
}

TEST_F(JPEGQuantizationTests, looksOnlyAtTheFirstMebibyte) {
    std::string filler;
    while (filler.size() < 1'048'576) {
        filler += segment('\xE5', std::string(60'000, 'x'));
    }
    EXPECT_FALSE(isFine(filler + tables(table(0, ones)) + end));
    filler.resize(filler.size() - segment('\xE5', std::string(60'000, 'x')).size());
    EXPECT_TRUE(isFine(filler + tables(table(0, ones)) + end));
}

TEST_F(JPEGQuantizationTests, agreesWithARealEncoder) {
    test::JPEGOptions options;
    options.quality = 100;
    test::writeJPEG(folder / "fine.jpg", options);
    options.quality = 90;
    test::writeJPEG(folder / "coarse.jpg", options);
    EXPECT_TRUE(ImageFacts::hasFineJPEGQuantization(folder / "fine.jpg"));
    EXPECT_FALSE(ImageFacts::hasFineJPEGQuantization(folder / "coarse.jpg"));
}

} // namespace
} // namespace tarnwick
