#include "Foundation/FileOperations.h"
#include "Inspection/ImageFacts.h"
#include "Inspection/JPEGMetadata.h"
#include "Support/Pictures.h"
#include "Support/RunCommand.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace tarnwick::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

/// Sample pictures of libjxl.
fs::path samples() {
    const char* folder = std::getenv("TARNWICK_TESTDATA");
    return folder != nullptr ? folder : "/usr/share/libjxl-testdata";
}

/// The command line with its own tools.
class RealToolsTest : public testing::Test {
protected:
    URL sample(const std::string& path, const std::string& name) const {
        fs::copy_file(samples() / path, (folder / name).path());
        return folder / name;
    }
    CommandResult run(Words words) const {
        words.insert(words.end(), {"--store", (store / "Undo").path()});
        return runCommand(words);
    }
    json compress(const URL& file, int expectedStatus = 0) const {
        const auto result = run({"compress", "--json", file.path()});
        EXPECT_EQ(result.status, expectedStatus) << result.output << result.errors;
        const auto lines = result.json();
        EXPECT_EQ(lines.size(), 1U) << result.output;
        return lines.empty() ? json::object() : json(lines.front());
    }
    void restore(const URL& file) const {
        const auto result = run({"restore", file.path()});
        EXPECT_EQ(result.status, 0) << result.output << result.errors;
    }

    /// Compresses the file, checks the replacement and restores the original.
    json roundTrip(const URL& file) const {
        const std::string original = hash(file);
        const ImageFacts facts = ImageFacts::inspect(file);
        json line = compress(file);
        EXPECT_EQ(line["outcome"], "replaced") << line;
        if (line["outcome"] == "replaced") {
            EXPECT_LT(line["finalBytes"], line["originalBytes"]);
            EXPECT_EQ(line["finalBytes"], fileSize(file));
            EXPECT_TRUE(facts.compatible(ImageFacts::inspect(file), true)) << line;
            restore(file);
            EXPECT_EQ(hash(file), original);
        }
        return line;
    }

    TemporaryFolder store;
    TemporaryFolder folder;
};

TEST_F(RealToolsTest, CompressPNG) {
    const json photo = roundTrip(sample("external/wesaturate/500px/u76c0g_bliznaca_srgb8.png", "photo.png"));
    EXPECT_GE(photo["qualityScore"], 70.0);
    roundTrip(sample("external/wesaturate/500px/tmshre_riaphotographs_alpha.png", "alpha.png"));
    // pngquant cannot handle this wide-gamut picture, so only the lossless pass remains.
    const json wide =
        roundTrip(sample("external/raw.pixls/Google-Pixel2XL-16bit_acescg_g1_v4_krita.png", "wide.png"));
    EXPECT_EQ(wide["encoder"], "OxiPNG");
    EXPECT_EQ(
        roundTrip(folder.file("frames.png", pictureText("animated.png") + std::string(500, ' ')))["encoder"],
        "OxiPNG")
        << "pngquant would lose the frames";
    // Its colours would change visibly in sRGB, so only the lossless pass remains.
    EXPECT_EQ(roundTrip(sample("external/wide-gamut-tests/P3-sRGB-color-bars.png", "p3.png"))["encoder"],
              "OxiPNG");
    // Too small for the scorer; optimal after one lossless pass.
    const URL tiny = copyPicture("tiny.png", folder / "tiny.png");
    EXPECT_EQ(roundTrip(tiny)["encoder"], "OxiPNG");
    compress(tiny);
    const std::string optimal = hash(tiny);
    const json skipped = compress(tiny);
    EXPECT_EQ(skipped["outcome"], "skipped") << skipped;
    EXPECT_EQ(skipped["finalBytes"], skipped["originalBytes"]);
    EXPECT_FALSE(skipped.contains("undoRecord"));
    EXPECT_EQ(hash(tiny), optimal);
}

TEST_F(RealToolsTest, CompressJPEG) {
    const json photo = roundTrip(sample("jxl/flower/flower_cropped.jpg", "photo.jpg"));
    EXPECT_GE(photo["qualityScore"], 60.0);
    EXPECT_THAT(std::string(photo["encoder"]), StartsWith("Jpegli q"));
    roundTrip(sample("jxl/flower/flower.png.im_q85_gray.jpg", "grey.jpg"));
    const URL turned = sample("jxl/flower/flower_cropped.jpg", "turned.jpg");
    JPEGMetadata::preserveOrientation(6, turned);
    roundTrip(turned);

    const URL inks = copyPicture("cmyk.jpg", folder / "cmyk.jpg");
    const json failed = compress(inks, 1);
    EXPECT_EQ(failed["outcome"], "failed");
    EXPECT_THAT(std::string(failed["error"]), StartsWith("压缩组件运行失败：cjpegli（退出码 1）："));
    EXPECT_EQ(contents(inks), pictureText("cmyk.jpg"));
}

TEST_F(RealToolsTest, CompressGIF) {
    const json line = roundTrip(sample("jxl/animation_patches.gif", "animation.gif"));
    EXPECT_THAT(std::string(line["encoder"]), HasSubstr("ifsicle"));
    roundTrip(sample("jxl/traffic_light.gif", "small.gif"));
}

TEST_F(RealToolsTest, ConvertHEIC) {
    const URL file = copyPicture("photo.heic", folder / "photo.heic");
    folder.file("photo.png", "another picture");
    const json line = compress(file);
    ASSERT_EQ(line["outcome"], "converted") << line;
    const URL converted = folder / "photo（塔维克1）.png";
    EXPECT_EQ(URL::parse(std::string(line["url"])), converted);
    EXPECT_EQ(line["encoder"], "HEIC → PNG · 无损 PNG");
    EXPECT_EQ(ImageFacts::inspect(converted).width, ImageFacts::inspect(file).width);
    EXPECT_EQ(contents(file), pictureText("photo.heic"));
    restore(file);
    EXPECT_EQ(folder.listing(), "photo.heic photo.png");
    EXPECT_EQ(contents(folder / "photo.png"), "another picture");
}

TEST_F(RealToolsTest, TakeAnyNameAndKeepTheMode) {
    for (const char* name :
         {"-rf.png", "a b'\"$(x);.png", "new\nline.png", "\xFF\xFE.png", "照片.PNG", "#0.png"}) {
        const URL file = copyPicture("large.png", folder / name);
        ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
        ASSERT_EQ(compress(file)["outcome"], "replaced") << name;
        struct stat status {};
        ASSERT_EQ(::stat(file.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0640U) << name;
        restore(file);
        EXPECT_EQ(contents(file), pictureText("large.png"));
    }
}

} // namespace
} // namespace tarnwick::test
