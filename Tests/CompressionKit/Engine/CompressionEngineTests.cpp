#include "Engine/CompressionEngine.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "Foundation/Text.h"
#include "Support/EngineFixture.h"
#include "Support/EnvironmentVariable.h"
#include "Support/Unprivileged.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

namespace tarnwick::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class CompressionEngineTest : public EngineFixture {
protected:
    const std::string large = pictureText("photo.png");
    const URL output = picture("photo-small.png");
};

TEST_F(CompressionEngineTest, RejectsWhatIsNoPictureFile) {
    const URL photo = original("photo.png");
    createDirectories(pictures / "folder.png");
    std::filesystem::create_symlink(photo.path(), (pictures / "link.png").path());
    std::filesystem::create_symlink("nowhere", (pictures / "dangling.png").path());
    const std::pair<URL, const char*> rows[] = {
        {*URL::parse("https://example.org/a.png"), "请选择本地图片文件"},
        {URL(), "请选择本地图片文件"},
        {pictures / "folder.png", "请选择普通图片文件"},
        {pictures / "link.png", "请选择普通图片文件"},
        {pictures / "dangling.png", "请选择普通图片文件"},
        {pictures / "absent.png", "absent.png”：No such file or directory"},
        {photo.appending("a.png"), "photo.png/a.png”：No such file or directory"},
        {original("png.jpg"), "文件格式与扩展名不一致"},
        {pictures.file("cut.png", large.substr(0, large.size() - 30)), "图片无法解码"},
        {pictures.file("text.txt", large), "图片无法解码"},
        {pictures.file("cut.heic", pictureText("photo.heic").substr(0, 6'000)), "图片无法解码"},
        {original("three-pictures.heic"), "暂不支持包含多张图片的 HEIC 文件"},
    };
    for (const auto& [url, error] : rows) {
        EXPECT_THAT(failure(url), testing::EndsWith(error)) << url.path();
    }
    EXPECT_EQ(contents(photo), large);
    EXPECT_EQ(
        pictures.listing(),
        "cut.heic cut.png dangling.png folder.png link.png photo.png png.jpg text.txt three-pictures.heic");
    EXPECT_THAT(tools.runs(), IsEmpty());
    EXPECT_FALSE(itemExists(store.root()));
}

TEST_F(CompressionEngineTest, ReplacesTheFileUnderARecord) {
    const URL photo = original("photo.png");
    const UUID session = UUID::random();
    const auto result = engine().compress(photo, session);
    EXPECT_EQ(result.outcome, CompressionOutcome::replaced);
    EXPECT_EQ(result.url, photo);
    EXPECT_EQ(result.encoder, "pngquant q90 floyd0.25 s1");
    EXPECT_EQ(result.qualityScore, 90.0);
    EXPECT_EQ(result.savedBytes(), static_cast<std::int64_t>(large.size()) - fileSize(photo));
    EXPECT_EQ(contents(photo), contents(output));
    EXPECT_EQ(pictures.listing(), "photo.png");
    ASSERT_TRUE(result.undoRecord);
    EXPECT_EQ(store.readRecords(), std::vector{*result.undoRecord});
    EXPECT_EQ(result.undoRecord->sessionID, session);
    EXPECT_EQ(result.undoRecord->state, UndoRecord::State::committed);
}

TEST_F(CompressionEngineTest, SkipsAFileThatNoToolMakesSmaller) {
    const auto result = compress(original("photo-small.png"));
    EXPECT_EQ(result.outcome, CompressionOutcome::skipped);
    EXPECT_EQ(result.finalBytes, result.originalBytes);
    EXPECT_EQ(result.savedRatio(), 0);
    EXPECT_FALSE(result.encoder || result.qualityScore || result.undoRecord);
    EXPECT_EQ(pictures.listing(), "photo-small.png");
    EXPECT_FALSE(itemExists(store.root()));
}

TEST_F(CompressionEngineTest, KeepsTheModeAndTheTime) {
    const URL photo = original("photo.png");
    ASSERT_EQ(::chmod(photo.c_str(), 0640), 0);
    const timespec times[] = {{1'000'000'000, 5}, {1'100'000'000, 123'456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, photo.c_str(), times, 0), 0);
    compress(photo);
    struct stat status {};
    ASSERT_EQ(::stat(photo.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'100'000'000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 123'456'789);
}

TEST_F(CompressionEngineTest, AcceptsAnyFileName) {
    for (const char* name : {"two words.png", "-o.png", "--.png", "quote'\".png", "line\nbreak.png",
                             "\xFF\xFE.png", "照片.PNG", "$(x);&.png", "%41.png", ".png.png"}) {
        const URL photo = copyPicture("photo.png", pictures / name);
        const auto result = compress(photo);
        EXPECT_EQ(result.outcome, CompressionOutcome::replaced) << name;
        const std::string given = tools.runs("pngquant").back().back();
        EXPECT_TRUE(isUTF8(given)) << "some tools fail on other paths";
        EXPECT_EQ(given == photo.path(), isUTF8(photo.path())) << name;
        EXPECT_EQ(store.readRecords().at(0).originalURL(), photo);
        store.restore(*result.undoRecord);
        EXPECT_EQ(contents(photo), large);
    }
}

TEST_F(CompressionEngineTest, KeepsTheFileWhenAToolFailsItIsCancelledOrNoNoteCanBeMade) {
    const URL photo = original("noise.jpg");
    tools.script("cjpegli", {{"error", "no"}, {"status", "1"}});
    EXPECT_EQ(failure(photo), "压缩组件运行失败：cjpegli（退出码 1）：no");
    const std::size_t runs = tools.runs().size();
    const auto cancellation = Cancellation::make();
    cancellation.request();
    EXPECT_THROW(engine().cancelledBy(cancellation).compress(photo, UUID::random()), Cancelled);
    const EnvironmentVariable data("XDG_DATA_HOME", home.file("data", "no folder").path());
    EXPECT_THAT(failure(photo), HasSubstr((home / "data").path()));
    EXPECT_THAT(tools.runs(), testing::SizeIs(runs)) << "no tool starts";
    EXPECT_EQ(contents(photo), pictureText("noise.jpg"));
    EXPECT_EQ(pictures.listing(), "noise.jpg");
    EXPECT_FALSE(itemExists(store.root()));
}

TEST_F(CompressionEngineTest, ReportsAFolderThatCannotBeWrittenAndAFileThatCannotBeRead) {
    const URL photo = original("photo.png");
    const URL secret = copyPicture("photo.png", pictures / "secret.png");
    ::chmod(secret.c_str(), 0);
    ::chmod(pictures.url().c_str(), 0555);
    const URL everyones = home / "data";
    createDirectories(everyones);
    ::chmod(everyones.c_str(), 0777);
    const EnvironmentVariable data("XDG_DATA_HOME", everyones.path());
    for (const auto& [url, named] : {std::pair(photo, pictures.url()), {secret, secret}}) {
        EXPECT_THAT(unprivileged([this, &file = url] { return failure(file); }),
                    testing::AllOf(HasSubstr(named.path()), HasSubstr("Permission denied")));
    }
    EXPECT_EQ(contents(photo), large);
    EXPECT_EQ(pictures.listing(), "photo.png secret.png");
}

} // namespace
} // namespace tarnwick::test
