#include "EndToEnd/Program.h"
#include "Foundation/FileOperations.h"
#include "Inspection/ImageFacts.h"
#include "Inspection/JPEGMetadata.h"
#include "Support/HEIFMaker.h"
#include "Support/JPEGMaker.h"
#include "Support/PNGMaker.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace tarnwick {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// Where libjxl's sample pictures are.
fs::path samples() {
    const char* folder = std::getenv("TARNWICK_TESTDATA");
    return folder != nullptr ? folder : "/usr/share/libjxl-testdata";
}

class RealToolsTests : public testing::Test {
protected:
    URL sample(const std::string& path, const std::string& name) const {
        fs::copy_file(samples() / path, (folder / name).path());
        return folder / name;
    }
    json compress(const URL& file, int expectedStatus = 0) const {
        const auto run = program.run({"compress", "--json", file.path()});
        EXPECT_EQ(run.status, expectedStatus) << run.output << run.errors;
        const auto lines = run.lines();
        EXPECT_EQ(lines.size(), 1U) << run.output;
        return lines.empty() ? json::object() : lines.front();
    }
    void restore(const URL& file) const {
        const auto run = program.run({"restore", file.path()});
        EXPECT_EQ(run.status, 0) << run.output << run.errors;
    }

    /// Compresses the file, checks that what replaced it is sound, and takes it back.
    json roundTrip(const URL& file) const {
        const std::string original = hash(file);
        const ImageFacts facts = ImageFacts::inspect(file);
        json line = compress(file);
        EXPECT_EQ(line["outcome"], "replaced") << line;
        if (line["outcome"] != "replaced") {
            return line;
        }
        EXPECT_LT(line["finalBytes"], line["originalBytes"]);
        EXPECT_EQ(line["finalBytes"], fileSize(file));
        EXPECT_TRUE(facts.compatible(ImageFacts::inspect(file), true)) << line;
        restore(file);
        EXPECT_EQ(hash(file), original);
        return line;
    }

    test::TemporaryFolder folder;
    test::Program program;
};

TEST_F(RealToolsTests, compressPNGs) {
    const json photo = roundTrip(sample("external/wesaturate/500px/u76c0g_bliznaca_srgb8.png", "photo.png"));
    EXPECT_GE(photo["qualityScore"], 70.0);
    roundTrip(sample("external/wesaturate/500px/tmshre_riaphotographs_alpha.png", "alpha.png"));
    // A wide-gamut picture that pngquant cannot treat still gets its lossless pass.
    const json wide =
        roundTrip(sample("external/raw.pixls/Google-Pixel2XL-16bit_acescg_g1_v4_krita.png", "wide.png"));
    EXPECT_EQ(wide["encoder"], "OxiPNG");

    test::PNGOptions tiny;
    tiny.width = 7;
    tiny.height = 7;
    tiny.compressionLevel = 0;
    test::writePNG(folder / "tiny.png", tiny);
    EXPECT_EQ(roundTrip(folder / "tiny.png")["encoder"], "OxiPNG") << "too small to be scored";

    test::PNGOptions animated;
    animated.animationFrames = 3;
    animated.compressionLevel = 0;
    test::writePNG(folder / "animated.png", animated);
    EXPECT_EQ(roundTrip(folder / "animated.png")["encoder"], "OxiPNG") << "pngquant flattens it";
}

TEST_F(RealToolsTests, convertDisplayP3ToSRGBOnlyWhereItCannotBeSeen) {
    const URL file = sample("external/wide-gamut-tests/P3-sRGB-color-bars.png", "p3.png");
    ASSERT_EQ(ImageFacts::inspect(file).profileName.value_or("").find("sRGB"), std::string::npos);
    const json line = compress(file);
    const std::string outcome = line["outcome"];
    EXPECT_TRUE(outcome == "replaced" || outcome == "skipped") << line;
}

TEST_F(RealToolsTests, compressJPEGs) {
    const json photo = roundTrip(sample("jxl/flower/flower_cropped.jpg", "photo.jpg"));
    EXPECT_GE(photo["qualityScore"], 60.0);
    EXPECT_EQ(std::string(photo["encoder"]).rfind("Jpegli q", 0), 0U);
    roundTrip(sample("jxl/flower/flower.png.im_q85_gray.jpg", "grey.jpg"));

    const URL turned = sample("jxl/flower/flower_cropped.jpg", "turned.jpg");
    JPEGMetadata::preserveOrientation(6, turned);
    roundTrip(turned);

    test::JPEGOptions inks;
    inks.width = 64;
    inks.height = 64;
    inks.color = test::JPEGColor::cmyk;
    test::writeJPEG(folder / "cmyk.jpg", inks);
    const std::string original = hash(folder / "cmyk.jpg");
    const json refused = compress(folder / "cmyk.jpg", 1);
    EXPECT_EQ(refused["outcome"], "failed");
    EXPECT_EQ(std::string(refused["error"]).rfind("压缩组件运行失败：cjpegli（退出码 1）：", 0), 0U)
        << refused;
    EXPECT_EQ(hash(folder / "cmyk.jpg"), original);
}

TEST_F(RealToolsTests, compressGIFs) {
    const json line = roundTrip(sample("jxl/animation_patches.gif", "animation.gif"));
    EXPECT_NE(std::string(line["encoder"]).find("ifsicle"), std::string::npos);
    const json small = compress(sample("jxl/traffic_light.gif", "small.gif"));
    EXPECT_TRUE(small["outcome"] == "replaced" || small["outcome"] == "skipped") << small;
}

TEST_F(RealToolsTests, convertHEICs) {
    const URL file = folder / "photo.heic";
    test::writeHEIF(file);
    folder.file("photo.png", "somebody else's");
    const std::string original = hash(file);
    const json line = compress(file);
    ASSERT_EQ(line["outcome"], "converted") << line;
    const URL converted = folder / "photo（塔维克1）.png";
    EXPECT_EQ(URL::parse(std::string(line["url"])), converted);
    EXPECT_EQ(line["encoder"], "HEIC → PNG · 无损 PNG");
    EXPECT_EQ(ImageFacts::inspect(converted).width, ImageFacts::inspect(file).width);
    EXPECT_EQ(hash(file), original);
    restore(file);
    EXPECT_EQ(folder.listing(), "photo.heic photo.png");
    EXPECT_EQ(test::contents(folder / "photo.png"), "somebody else's");
}

TEST_F(RealToolsTests, takeAnyNameAndKeepAttributes) {
    for (const char* name :
         {"-rf.png", "a b'\"$(x);.png", "new\nline.png", "\xFF\xFE.png", "照片.PNG", "#0.png"}) {
        const URL file = sample("external/wesaturate/64px/l1qnb5_nkitzmiller_srgb8.png", name);
        ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
        ASSERT_EQ(compress(file)["outcome"], "replaced") << name;
        struct stat status {};
        ASSERT_EQ(::stat(file.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0640U) << name;
        restore(file);
        EXPECT_EQ(
            hash(file),
            hash(URL::file((samples() / "external/wesaturate/64px/l1qnb5_nkitzmiller_srgb8.png").native())));
        removeFile(file);
    }
    EXPECT_EQ(folder.listing(), "");
}

TEST_F(RealToolsTests, skipWhatCannotGetSmaller) {
    // Too small to be scored, so that only the lossless pass counts, and that finds nothing more the second
    // time.
    test::PNGOptions options;
    options.width = 7;
    options.height = 7;
    test::writePNG(folder / "small.png", options);
    ASSERT_NE(compress(folder / "small.png")["outcome"], "failed");
    const std::string optimal = hash(folder / "small.png");
    const json line = compress(folder / "small.png");
    EXPECT_EQ(line["outcome"], "skipped") << line;
    EXPECT_EQ(line["finalBytes"], line["originalBytes"]);
    EXPECT_FALSE(line.contains("undoRecord"));
    EXPECT_EQ(hash(folder / "small.png"), optimal);
}

} // namespace
} // namespace tarnwick
