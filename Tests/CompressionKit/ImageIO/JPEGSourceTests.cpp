#include "Foundation/CompressionError.h"
#include "ImageIO/JPEGSource.h"
#include "Support/Decoding.h"
#include "Support/JPEGMaker.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

namespace tarnwick::test {
namespace {

const TemporaryFolder& folder() {
    static const TemporaryFolder instance;
    return instance;
}

URL written(const Bytes& bytes) {
    URL url = folder() / "picture.jpg";
    writeFile(url, bytes);
    return url;
}

URL made(const JPEGOptions& options) {
    return written(jpegBytes(options));
}

int largestDifference(const Bytes& left, const Bytes& right) {
    int largest = left.size() == right.size() ? 0 : 256;
    for (std::size_t at = 0; at < std::min(left.size(), right.size()); ++at) {
        largest = std::max(largest, std::abs(left[at] - right[at]));
    }
    return largest;
}

/// The offsets of a marker. Entropy-coded data never looks like one.
std::vector<std::size_t> positions(const Bytes& file, std::uint8_t marker) {
    std::vector<std::size_t> found;
    for (std::size_t at = 0; at + 1 < file.size(); ++at) {
        if (file[at] == 0xFF && file[at + 1] == marker) {
            found.push_back(at);
        }
    }
    return found;
}

constexpr std::uint8_t startOfScan = 0xDA;
constexpr std::uint8_t quantizationTables = 0xDB;

TEST(JPEGSource, decodesEveryColorSpace) {
    JPEGOptions jpeg;
    jpeg.width = 33;
    jpeg.height = 17;
    jpeg.quality = 100;
    const Bytes expected = rgbaRows(33, 17, gradient);
    for (const JPEGColor color :
         {JPEGColor::ycc, JPEGColor::rgb, JPEGColor::cmyk, JPEGColor::ycck, JPEGColor::plainCMYK}) {
        jpeg.color = color;
        EXPECT_LE(largestDifference(decoded(made(jpeg)), expected), 6) << int(color);
    }
    jpeg.color = JPEGColor::grey;
    const auto grey = [](auto x, auto y) {
        const std::uint8_t value = gradient(x, y).red;
        return Pixel{value, value, value};
    };
    EXPECT_LE(largestDifference(decoded(made(jpeg)), rgbaRows(33, 17, grey)), 2);
}

TEST(JPEGSource, decodesTheSameCoefficientsToTheSamePixelsInEveryCoding) {
    JPEGOptions jpeg;
    jpeg.width = 67;
    jpeg.height = 45;
    jpeg.horizontalSampling = 2;
    jpeg.verticalSampling = 2;
    const Bytes baseline = decoded(made(jpeg));
    EXPECT_LE(largestDifference(baseline, rgbaRows(67, 45, gradient)), 40);
    EXPECT_EQ(decoded(made(jpeg), 0, 45), baseline) << "in one band";
    for (const bool arithmetic : {false, true}) {
        jpeg.arithmetic = arithmetic;
        jpeg.optimizedTables = !arithmetic;
        EXPECT_EQ(decoded(made(jpeg)), baseline);
        JPEGOptions other = jpeg;
        other.progressive = true;
        EXPECT_EQ(decoded(made(other)), baseline);
        other.progressive = false;
        other.separateScans = true;
        EXPECT_EQ(decoded(made(other)), baseline);
        other = jpeg;
        other.restartInterval = 2;
        EXPECT_EQ(decoded(made(other)), baseline);
    }
}

TEST(JPEGSource, decodesEverySampling) {
    const auto smooth = [](std::int64_t x, std::int64_t y) {
        return Pixel{static_cast<std::uint8_t>(x * 2), static_cast<std::uint8_t>(y * 2), 90};
    };
    for (const auto& [horizontal, vertical] :
         {std::pair(2, 1), std::pair(1, 2), std::pair(4, 1), std::pair(4, 2)}) {
        JPEGOptions jpeg;
        jpeg.width = 61;
        jpeg.height = 43;
        jpeg.quality = 100;
        jpeg.pattern = smooth;
        jpeg.horizontalSampling = horizontal;
        jpeg.verticalSampling = vertical;
        EXPECT_LE(largestDifference(decoded(made(jpeg)), rgbaRows(61, 43, smooth)), 12)
            << horizontal << " × " << vertical;
    }
}

TEST(JPEGSource, tellsWhatTheFileSaysOfItself) {
    JPEGOptions jpeg;
    jpeg.width = 21;
    const auto plain = ImageSource::open(made(jpeg))->info();
    EXPECT_EQ(plain.width, 21);
    EXPECT_EQ(plain.height, 24);
    EXPECT_EQ(plain.imageCount, 1);
    EXPECT_EQ(plain.bitsPerComponent, 8);
    EXPECT_FALSE(plain.hasAlpha);
    EXPECT_EQ(plain.orientation, std::nullopt);
    EXPECT_EQ(plain.profile.name(), ColorProfile().name());

    jpeg.orientation = 6;
    jpeg.icc = ColorProfile::fromCodePoints({12, 13, 0, true}).iccForRGB();
    jpeg.iccSegmentBytes = 100;
    const auto tagged = ImageSource::open(made(jpeg))->info();
    EXPECT_EQ(tagged.orientation, 6);
    EXPECT_EQ(tagged.profile.name(), "Display P3");
    EXPECT_EQ(tagged.profile.iccForRGB(), jpeg.icc);

    jpeg.icc = Bytes(200, 'x');
    jpeg.orientation = 9;
    const auto corrupt = ImageSource::open(made(jpeg))->info();
    EXPECT_EQ(corrupt.orientation, std::nullopt);
    EXPECT_EQ(corrupt.profile.name(), ColorProfile().name());

    jpeg.icc = {};
    jpeg.color = JPEGColor::cmyk;
    EXPECT_EQ(ImageSource::open(made(jpeg))->info().profile.name(), ColorProfile::genericCMYK().name());
}

class JPEGDamage : public testing::TestWithParam<bool> {
protected:
    static Bytes picture() {
        JPEGOptions jpeg;
        jpeg.width = 20;
        jpeg.height = 18;
        jpeg.progressive = GetParam();
        jpeg.orientation = 3;
        return jpegBytes(jpeg);
    }
};

TEST_P(JPEGDamage, refusesEveryCutEvenWhenAnEndIsPutToIt) {
    const Bytes whole = picture();
    ASSERT_FALSE(isRefused(whole));
    testing::internal::CaptureStderr();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_TRUE(isRefused({whole.begin(), whole.begin() + std::ptrdiff_t(length)})) << length;
    }
    // The last bytes of entropy-coded data may be filling.
    const std::size_t firstScan = positions(whole, startOfScan).front() + 20;
    for (std::size_t length = firstScan; length < whole.size() - 4 && !GetParam(); ++length) {
        Bytes cut(whole.begin(), whole.begin() + std::ptrdiff_t(length));
        cut.insert(cut.end(), {0xFF, 0xD9});
        EXPECT_TRUE(isRefused(cut)) << length;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_P(JPEGDamage, survivesDamageToEveryByte) {
    const Bytes whole = picture();
    int refused = 0;
    testing::internal::CaptureStderr();
    ImageLimits limits;
    limits.maximumPixels = 1 << 20;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const unsigned mask : {0x01U, 0x80U, 0xFFU}) {
            Bytes damaged = whole;
            damaged[at] ^= static_cast<std::uint8_t>(mask);
            refused += isRefused(damaged, limits) ? 1 : 0;
        }
    }
    EXPECT_GT(refused, 50);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

INSTANTIATE_TEST_SUITE_P(Codings, JPEGDamage, testing::Bool());

TEST(JPEGSource, refusesAPictureWithoutOneOfItsComponents) {
    JPEGOptions jpeg;
    jpeg.separateScans = true;
    Bytes file = jpegBytes(jpeg);
    file.resize(positions(file, startOfScan).back());
    file.insert(file.end(), {0xFF, 0xD9});
    EXPECT_TRUE(isRefused(file));
}

TEST(JPEGSource, readsUpToTheEndMarker) {
    Bytes file = jpegBytes({});
    file.resize(file.size() - 2);
    const Bytes emptyComment = {0xFF, 0xFE, 0, 2};
    file.insert(file.end(), emptyComment.begin(), emptyComment.end());
    EXPECT_TRUE(isRefused(file));
    file.insert(file.end(), {0xFF, 0xD9});
    EXPECT_FALSE(isRefused(file));
}

TEST(JPEGSource, boundsTheNumberOfScans) {
    JPEGOptions jpeg;
    jpeg.separateScans = true;
    const Bytes file = jpegBytes(jpeg);
    const Bytes scan(file.begin() + std::ptrdiff_t(positions(file, startOfScan).back()), file.end() - 2);
    const auto repeated = [&](int times) {
        Bytes result(file.begin(), file.end() - 2);
        for (int count = 0; count < times; ++count) {
            result.insert(result.end(), scan.begin(), scan.end());
        }
        result.insert(result.end(), {0xFF, 0xD9});
        return result;
    };
    EXPECT_FALSE(isRefused(repeated(100)));
    EXPECT_TRUE(isRefused(repeated(600)));
}

TEST(JPEGSource, toleratesWhatDoesThePixelsNoHarm) {
    const Bytes file = jpegBytes({});
    const Bytes pixels = decoded(written(file));
    Bytes stuffed = file;
    stuffed.insert(stuffed.begin() + std::ptrdiff_t(positions(file, quantizationTables).front()), {1, 2, 3});
    EXPECT_EQ(decoded(written(stuffed)), pixels);
    Bytes longer = file;
    longer.insert(longer.end(), file.begin(), file.end());
    EXPECT_EQ(decoded(written(longer)), pixels) << "what follows the end of the first image";
}

TEST(JPEGSource, refusesWhatIsBeyondTheLimits) {
    JPEGOptions jpeg;
    ImageLimits limits;
    limits.maximumBufferedPixels = 32 * 24 - 1;
    EXPECT_FALSE(isRefused(made(jpeg), limits));
    jpeg.progressive = true;
    EXPECT_TRUE(isRefused(made(jpeg), limits)) << "held whole";
    limits.maximumPixels = limits.maximumBufferedPixels;
    jpeg.progressive = false;
    EXPECT_TRUE(isRefused(made(jpeg), limits));

    limits = {};
    limits.maximumMetadataBytes = 20'000;
    EXPECT_FALSE(isRefused(made(jpeg), limits));
    jpeg.icc = Bytes(40'000, 'x');
    EXPECT_TRUE(isRefused(made(jpeg), limits));
}

TEST(JPEGSource, refusesAFileThatWasReplacedByAnotherSize) {
    const auto source = ImageSource::open(made({}));
    JPEGOptions larger;
    larger.width = 1000;
    made(larger);
    EXPECT_THROW(source->frames(), CompressionError);
}

} // namespace
} // namespace tarnwick::test
