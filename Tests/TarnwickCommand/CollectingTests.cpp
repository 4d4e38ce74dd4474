#include "Support/TemporaryFolder.h"
#include "Support/Unprivileged.h"
#include "TarnwickCommand/Collecting.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace tarnwick::test {
namespace {

class CollectingTest : public testing::Test {
protected:
    URL file(const std::string& name) const {
        createDirectories((folder / name).deletingLastPathComponent());
        return folder.file(name, "x");
    }

    /// The collected paths relative to the folder, joined by spaces; errors in brackets.
    std::string collected(const std::vector<std::string>& names) const {
        std::vector<std::string> paths(names);
        for (std::string& path : paths) {
            path.insert(0, folder.url().path() + "/");
        }
        std::string text;
        for (const CollectedFile& found : collectFiles(paths, Cancellation::never())) {
            const std::string name = found.path.substr(folder.url().path().size() + 1);
            text += (text.empty() ? "" : " ") + (found.error ? "[" + name + ": " + *found.error + "]" : name);
        }
        return text;
    }

    TemporaryFolder folder;
};

TEST_F(CollectingTest, WalksFoldersInTheOrderOfNamesAndSkipsHiddenLinkedAndOtherFiles) {
    for (const char* name : {"b.PNG", "a/z.jpeg", "a/d/e.gif", "c.heif", ".h.png", ".d/x.png", "t.txt", "png",
                             "9.png", "10.png", "照.png", "b/q.png", "B.png"}) {
        file(name);
    }
    std::filesystem::create_symlink("b.PNG", (folder / "link.png").path());
    std::filesystem::create_symlink("a", (folder / "folderlink").path());
    ASSERT_EQ(::mkfifo((folder / "pipe.png").c_str(), 0600), 0);
    EXPECT_EQ(collected({"."}),
              "./10.png ./9.png ./B.png ./a/d/e.gif ./a/z.jpeg ./b/q.png ./b.PNG ./c.heif ./照.png");
    EXPECT_EQ(collected({"a/"}), "a/d/e.gif a/z.jpeg");
    EXPECT_EQ(collected({".d", ".h.png"}), ".d/x.png .h.png") << "given themselves";
}

TEST_F(CollectingTest, TakesAFileOnceByWhateverPath) {
    file("a/x.png");
    file("a/y.png");
    std::filesystem::create_symlink("a", (folder / "l").path());
    EXPECT_EQ(collected({"a/y.png", "l/y.png", "a/../a/x.png", "a", "l/x.png"}), "a/y.png a/../a/x.png");
    const auto found = collectFiles({(folder / "l/x.png").path()}, Cancellation::never());
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].url, folder / "a/x.png") << "the engine and the history get the canonical folder";
}

TEST_F(CollectingTest, ReportsWhatCannotBeCompressedAndContinues) {
    file("a.png");
    file("t.txt");
    std::filesystem::create_symlink("a.png", (folder / "link.png").path());
    std::filesystem::create_symlink("nowhere", (folder / "dangling").path());
    EXPECT_EQ(collected({"t.txt", "link.png", "dangling", "a.png"}),
              "[t.txt: 目前只支持 PNG、JPG、GIF 和 HEIC/HEIF 图片文件。] link.png dangling a.png")
        << "the engine refuses links";
    const auto missing = collectFiles({(folder / "none.png").path(), ""}, Cancellation::never());
    ASSERT_EQ(missing.size(), 2U);
    EXPECT_NE(missing[0].error->find("none.png"), std::string::npos);
    EXPECT_TRUE(missing[1].error);
}

TEST_F(CollectingTest, ReportsFoldersThatCannotBeReadOrEntered) {
    file("a/x.png");
    file("closed/y.png");
    file("listed/z.png");
    for (const auto& [name, mode] :
         {std::pair(".", 0755U), {"a", 0755U}, {"closed", 0U}, {"listed", 0444U}}) {
        ASSERT_EQ(::chmod((folder / name).c_str(), mode), 0);
    }
    const std::string text = unprivileged([&] { return collected({"."}); });
    EXPECT_EQ(text.find("./a/x.png [./closed: 无法读取文件夹"), 0U) << text;
    EXPECT_NE(text.find("[./listed/z.png: 无法读取文件信息"), std::string::npos) << text;
}

TEST_F(CollectingTest, StopsWhenCancelled) {
    file("a.png");
    const Cancellation cancellation = Cancellation::make();
    cancellation.request();
    EXPECT_THROW(collectFiles({folder.url().path()}, cancellation), Cancelled);
}

} // namespace
} // namespace tarnwick::test
