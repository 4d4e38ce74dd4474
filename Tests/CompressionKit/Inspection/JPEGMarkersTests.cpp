#include "Foundation/CompressionError.h"
#include "Inspection/ImageFacts.h"
#include "Inspection/JPEGMetadata.h"
#include "Inspection/JPEGQuantization.h"
#include "Support/Failure.h"
#include "Support/JPEGSegment.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace tarnwick::test {
namespace {

using namespace std::string_literals;

/// An APP2 segment's payload: an index in big-endian order that states two pictures.
const std::string pictureIndex = "MPF\0MM\0*\0\0\0\x08\0\1\xB0\1\0\4\0\0\0\1\0\0\0\2\0\0\0\0"s;

class JPEGMetadataTest : public testing::Test {
protected:
    TemporaryFolder folder;
};

TEST_F(JPEGMetadataTest, FindsAnIndexOfSeveralPictures) {
    const std::string whole = segment('\xE2', pictureIndex);
    const auto with = [](std::size_t at, const std::string& bytes) {
        return segment('\xE2', std::string(pictureIndex).replace(at, bytes.size(), bytes));
    };
    for (const auto& [what, isFound, segments] :
         std::initializer_list<std::tuple<const char*, bool, std::string>>{
             {"two pictures", true, whole},
             {"one picture", false, with(22, "\0\0\0\1"s)},
             {"very many pictures", true, with(22, "\1\0\0\0"s)},
             {"little-endian", true,
              segment('\xE2', "MPF\0II*\0\x08\0\0\0\1\0\1\xB0\4\0\1\0\0\0\2\0\0\0\0\0\0\0"s)},
             {"another header", false, with(0, "X")},
             {"no byte order", false, with(4, "XX")},
             {"another magic number", false, with(6, "\0+"s)},
             {"an offset beyond the end", false, with(8, "\xFF\xFF\xFF\xFF")},
             {"an offset at the end", false, with(8, "\0\0\0\x19"s)},
             {"more entries than fit", false, with(12, "\0\2"s)},
             {"another tag", false, with(14, "\xB0\0"s)},
             {"another type", false, with(16, "\0\3"s)},
             {"two values", false, with(18, "\0\0\0\2"s)},
             {"after an index without a number", true,
              segment('\xE2', "ICC_PROFILE\0 and more"s) + with(16, "\0\3"s) + whole},
             {"after a malformed index", false, with(6, "\0+"s) + whole},
             {"in another segment", false, segment('\xE1', pictureIndex)},
             {"cut off", false, whole.substr(0, whole.size() - 3)},
             {"no segment", false, ""}}) {
        const URL file = folder.file("x.jpg", "\xFF\xD8" + segments + "\xFF\xD9");
        EXPECT_EQ(JPEGMetadata::hasMultiplePictures(file), isFound) << what;
    }
    EXPECT_FALSE(JPEGMetadata::hasMultiplePictures(folder / "missing.jpg"));
}

TEST_F(JPEGMetadataTest, WritesTheOrientationWhereItIsMissingOrWrong) {
    const URL file = copyPicture("photo.jpg", folder / "x.jpg");
    const std::string bytes = contents(file);
    JPEGMetadata::preserveOrientation(1, file);
    EXPECT_EQ(contents(file), bytes);

    std::string turned = "\xFF\xD8\xFF\xE1\x00\x22"
                         "Exif\0\0II\x2A\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0"s +
                         bytes.substr(2);
    for (const char orientation : {'\6', '\6', '\3'}) {
        turned.at(30) = orientation;
        JPEGMetadata::preserveOrientation(orientation, file);
        EXPECT_EQ(contents(file), turned);
        EXPECT_EQ(ImageFacts::inspect(file).orientation, orientation);
    }
}

TEST_F(JPEGMetadataTest, ReplacesEveryExifSegmentAndKeepsAllOthers) {
    const std::string kept = segment('\xE1', "http://ns.adobe.com/xap/1.0/\0<x/>"s) +
                             segment('\xFE', "Exif\0\0"s) + "\xFF" + pictureText("photo.jpg").substr(2);
    const std::string exif = segment('\xE1', "Exif\0\0"s);
    const URL file = folder.file("x.jpg", "\xFF\xD8" + exif + exif + kept);
    JPEGMetadata::preserveOrientation(8, file);
    EXPECT_EQ(contents(file).at(30), '\x08');
    EXPECT_EQ(contents(file).substr(2 + 36), kept);
}

TEST_F(JPEGMetadataTest, LeavesRefusedFilesAlone) {
    const URL jpeg = copyPicture("photo.jpg", folder / "x.jpg");
    const auto failure = [](std::int64_t orientation, const URL& url) {
        return failureOf([&] { JPEGMetadata::preserveOrientation(orientation, url); });
    };
    for (const std::int64_t orientation : {0, 9, -1}) {
        EXPECT_EQ(failure(orientation, jpeg), CompressionError::validationFailed().what());
    }
    EXPECT_EQ(contents(jpeg), pictureText("photo.jpg"));
    const std::string standalone = "\xFF\xD8\xFF\x01" + pictureText("photo.jpg").substr(2);
    for (const URL& url : {copyPicture("photo.png", folder / "x.png"), folder.file("text.jpg", "text"),
                           folder.file("standalone.jpg", standalone), folder / "missing.jpg"}) {
        EXPECT_EQ(failure(6, url), CompressionError::invalidImage().what()) << url.path();
    }
    EXPECT_EQ(contents(folder / "standalone.jpg"), standalone);
    EXPECT_EQ(folder.listing(), "standalone.jpg text.jpg x.jpg x.png");
}

TEST(JPEGQuantizationTest, JudgesTheMeanOfTheFirstLuminanceTable) {
    const TemporaryFolder folder;
    const auto table = [](char header, const std::string& entries) {
        return segment('\xDB', header + entries);
    };
    const std::string ones(64, '\1');
    const std::string twos(64, '\2');
    std::string wide;
    for (int i = 0; i < 64; ++i) {
        wide += "\0\1"s;
    }
    const std::string fine = table('\0', ones);
    const std::string coarse = table('\0', std::string(64, '\20'));
    for (const auto& [what, isFine, segments] :
         std::initializer_list<std::tuple<const char*, bool, std::string>>{
             {"all ones", true, fine},
             {"all twos", true, table('\0', twos)},
             {"one three", false, table('\0', '\3' + twos.substr(1))},
             {"all zeros", false, table('\0', std::string(64, '\0'))},
             {"16-bit ones", true, table('\x10', wide)},
             {"a 16-bit entry of 257", false, table('\x10', '\1' + wide.substr(1))},
             {"the first of two", true,
              table('\1', std::string(64, '\20').append(1, '\0').append(ones)) + coarse},
             {"a coarse one after a chrominance table", false, table('\1', ones) + coarse},
             {"a table of precision 2", false, table(' ', ones)},
             {"a table that ends early", false, table('\0', ones.substr(1))},
             {"another segment before", true, segment('\xE0', "JFIF") + fine},
             {"standalone markers before", true, "\xFF\x01\xFF\xD0\xFF\xD8" + fine},
             {"the image's end before", false, "\xFF\xD9\0\2"s + fine},
             {"a scan before", false, segment('\xDA', "scan") + fine},
             {"no marker before", false, "x" + fine},
             {"a segment of length 1 before", false, "\xFF\xDB\0\1\0"s + ones},
             {"a segment that ends early", false, fine.substr(0, fine.size() - 1)},
             {"a mebibyte of fill bytes before", false, std::string(1'048'576, '\xFF') + fine},
             {"almost a mebibyte before", true, std::string(1'048'000, '\xFF') + fine}}) {
        EXPECT_EQ(hasFineJPEGQuantization(folder.file("x.jpg", "\xFF\xD8" + segments)), isFine) << what;
    }
    EXPECT_FALSE(hasFineJPEGQuantization(folder.file("x.jpg", "\xFF\xD9" + fine))) << "no start";
    EXPECT_FALSE(hasFineJPEGQuantization(folder / "missing.jpg"));
    EXPECT_TRUE(hasFineJPEGQuantization(picture("noise-fine.jpg")));
    EXPECT_FALSE(hasFineJPEGQuantization(picture("photo.jpg")));
}

} // namespace
} // namespace tarnwick::test
