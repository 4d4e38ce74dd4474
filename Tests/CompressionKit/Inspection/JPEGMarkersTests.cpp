#include "Foundation/CompressionError.h"
#include "Inspection/ImageFacts.h"
#include "Inspection/JPEGMetadata.h"
#include "Inspection/JPEGQuantization.h"
#include "Support/JPEGSegment.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarnwick::test {
namespace {

using namespace std::string_literals;

/// An APP2 segment's payload: an index in big-endian order that states two pictures.
const std::string index = "MPF\0MM\0*\0\0\0\x08\0\1\xB0\1\0\4\0\0\0\1\0\0\0\2\0\0\0\0"s;

class JPEGMetadataTest : public testing::Test {
protected:
    bool hasMultiplePictures(const std::string& segments) const {
        return JPEGMetadata::hasMultiplePictures(folder.file("x.jpg", "\xFF\xD8" + segments + "\xFF\xD9"));
    }
    static CompressionError::Case failureOfPreserving(std::int64_t orientation, const URL& url) {
        try {
            JPEGMetadata::preserveOrientation(orientation, url);
        } catch (const CompressionError& error) {
            return error.errorCase();
        }
        ADD_FAILURE() << "nothing was thrown for " << url.path();
        return {};
    }

    TemporaryFolder folder;
};

TEST_F(JPEGMetadataTest, ReadsTheNumberOfPictures) {
    struct Row {
        const char* what;
        bool isMultiple;
        std::size_t at;
        std::string bytes;
    };
    for (const Row& row :
         {Row{"two pictures", true, 22, "\0\0\0\2"s}, Row{"one picture", false, 22, "\0\0\0\1"s},
          Row{"very many pictures", true, 22, "\1\0\0\0"s}, Row{"another header", false, 0, "X"},
          Row{"no byte order", false, 4, "XX"}, Row{"another magic number", false, 6, "\0+"s},
          Row{"an offset beyond the end", false, 8, "\xFF\xFF\xFF\xFF"},
          Row{"an offset at the end", false, 8, "\0\0\0\x18"s},
          Row{"more entries than fit", false, 12, "\0\2"s}, Row{"another tag", false, 14, "\xB0\0"s},
          Row{"another type", false, 16, "\0\3"s}, Row{"two values", false, 18, "\0\0\0\2"s}}) {
        std::string changed = index;
        changed.replace(row.at, row.bytes.size(), row.bytes);
        EXPECT_EQ(hasMultiplePictures(segment('\xE2', changed)), row.isMultiple) << row.what;
    }
    EXPECT_TRUE(
        hasMultiplePictures(segment('\xE2', "MPF\0II*\0\x08\0\0\0\1\0\1\xB0\4\0\1\0\0\0\2\0\0\0\0\0\0\0"s)));
}

TEST_F(JPEGMetadataTest, FindsTheIndexAmongOtherSegments) {
    const std::string whole = segment('\xE2', index);
    std::string silent = index;
    silent[17] = '\3';
    std::string malformed = index;
    malformed[7] = '+';
    EXPECT_TRUE(
        hasMultiplePictures(segment('\xE2', "ICC_PROFILE\0 and more"s) + segment('\xE2', silent) + whole));
    EXPECT_FALSE(hasMultiplePictures(segment('\xE2', malformed) + whole));
    EXPECT_FALSE(hasMultiplePictures(segment('\xE1', index)));
    EXPECT_FALSE(hasMultiplePictures(segment('\xE2', "MPF\0MM\0*\0\0\0\x08\0\0\0"s)))
        << "17 bytes are too few";
    EXPECT_FALSE(hasMultiplePictures(whole.substr(0, whole.size() - 3)));
    EXPECT_FALSE(hasMultiplePictures(""));
    EXPECT_FALSE(JPEGMetadata::hasMultiplePictures(folder / "missing.jpg"));
}

TEST_F(JPEGMetadataTest, WritesTheOrientationWhereItIsMissingOrWrong) {
    const URL file = copyPicture("photo.jpg", folder / "x.jpg");
    const std::string bytes = contents(file);
    JPEGMetadata::preserveOrientation(1, file);
    EXPECT_EQ(contents(file), bytes);

    JPEGMetadata::preserveOrientation(6, file);
    const std::string turned = contents(file);
    EXPECT_EQ(turned, "\xFF\xD8\xFF\xE1\x00\x22"
                      "Exif\0\0II\x2A\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0"s +
                          bytes.substr(2));
    EXPECT_EQ(ImageFacts::inspect(file).orientation, 6);
    JPEGMetadata::preserveOrientation(6, file);
    EXPECT_EQ(contents(file), turned);
    JPEGMetadata::preserveOrientation(3, file);
    EXPECT_EQ(contents(file).size(), turned.size()) << "the old segment must go";
    EXPECT_EQ(ImageFacts::inspect(file).orientation, 3);
}

TEST_F(JPEGMetadataTest, ReplacesEveryExifSegmentAndKeepsAllOthers) {
    const std::string bytes = pictureText("photo.jpg");
    const std::string kept = segment('\xE1', "http://ns.adobe.com/xap/1.0/\0<x/>"s) +
                             segment('\xFE', "comment") + "\xFF" + bytes.substr(2);
    const std::string exif = segment('\xE1', "Exif\0\0"s);
    const URL file = folder.file("x.jpg", "\xFF\xD8" + exif + exif + kept);
    JPEGMetadata::preserveOrientation(8, file);
    const std::string written = contents(file);
    EXPECT_EQ(written.find("\x12\x01\x03\0\x01\0\0\0\x08"s), 22U);
    EXPECT_EQ(written.substr(2 + 36), kept);
}

TEST_F(JPEGMetadataTest, LeavesRefusedFilesAlone) {
    const URL jpeg = copyPicture("photo.jpg", folder / "x.jpg");
    for (const std::int64_t orientation : {0, 9, -1}) {
        EXPECT_EQ(failureOfPreserving(orientation, jpeg), CompressionError::Case::validationFailed);
    }
    EXPECT_EQ(contents(jpeg), pictureText("photo.jpg"));
    const std::string standalone = "\xFF\xD8\xFF\x01" + pictureText("photo.jpg").substr(2);
    for (const URL& url : {copyPicture("photo.png", folder / "x.png"), folder.file("text.jpg", "text"),
                           folder.file("standalone.jpg", standalone), folder / "missing.jpg"}) {
        EXPECT_EQ(failureOfPreserving(6, url), CompressionError::Case::invalidImage) << url.path();
    }
    EXPECT_EQ(contents(folder / "standalone.jpg"), standalone);
    EXPECT_EQ(folder.listing(), "standalone.jpg text.jpg x.jpg x.png");
}

TEST(JPEGQuantizationTest, JudgesTheMeanOfTheFirstLuminanceTable) {
    const TemporaryFolder folder;
    const auto tables = [](const std::string& payload) { return segment('\xDB', payload); };
    const std::string ones(64, '\1');
    const std::string twos(64, '\2');
    const std::string coarse(64, '\20');
    std::string wide;
    for (int i = 0; i < 64; ++i) {
        wide += "\0\1"s;
    }
    const std::string fine = tables("\0"s + ones);
    const std::string end = "\xFF\xD9";
    const std::string filler = segment('\xE5', std::string(65'532, 'x')); // 64 KiB
    std::string mebibyte;
    for (int i = 0; i < 16; ++i) {
        mebibyte += filler;
    }
    struct Row {
        const char* what;
        bool isFine;
        std::string afterStart;
    };
    const std::vector<Row> rows = {
        {"all ones", true, fine + end},
        {"all twos", true, tables("\0"s + twos) + end},
        {"one three", false, tables("\0\3"s + twos.substr(1)) + end},
        {"all zeros", false, tables(std::string(65, '\0')) + end},
        {"16-bit ones", true, tables("\x10" + wide) + end},
        {"a 16-bit entry of 256", false, tables("\x10\1"s + wide.substr(1)) + end},
        {"the first of two", true, tables("\1" + coarse + "\0"s + ones) + tables("\0"s + coarse)},
        {"only a chrominance table", false, tables("\1" + ones) + end},
        {"a coarse one after it", false, tables("\1" + ones) + tables("\0"s + coarse) + end},
        {"a table of precision 2", false, tables(" " + ones) + end},
        {"a table that ends early", false, tables("\0"s + ones.substr(1)) + end},
        {"other segments and fill bytes before", true,
         segment('\xE0', "JFIF") + "\xFF\xFF\xFF" + fine.substr(1)},
        {"standalone markers before", true, "\xFF\x01\xFF\xD0\xFF\xD8" + fine},
        {"the image's end before", false, end + fine},
        {"a scan before", false, segment('\xDA', "scan") + fine},
        {"no marker before", false, "x" + fine},
        {"a segment of length 1 before", false, "\xFF\xDB\0\1"s + fine},
        {"a segment that ends early", false, fine.substr(0, fine.size() - 1)},
        {"a mebibyte before", false, mebibyte + fine},
        {"almost a mebibyte before", true, mebibyte.substr(filler.size()) + fine},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(hasFineJPEGQuantization(folder.file("x.jpg", "\xFF\xD8" + row.afterStart)), row.isFine)
            << row.what;
    }
    EXPECT_FALSE(hasFineJPEGQuantization(folder.file("x.jpg", "\xFF\xD9" + fine))) << "no start";
    EXPECT_FALSE(hasFineJPEGQuantization(folder / "missing.jpg"));
    EXPECT_TRUE(hasFineJPEGQuantization(picture("noise-fine.jpg")));
    EXPECT_FALSE(hasFineJPEGQuantization(picture("photo.jpg")));
}

} // namespace
} // namespace tarnwick::test
