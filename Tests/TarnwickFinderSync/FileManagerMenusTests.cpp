#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "TarnwickFinderSync/MenuFixture.h"

namespace tarnwick::test {
namespace {

using namespace testing;

class FileManagerMenusTest : public MenuFixture {
protected:
    static constexpr auto script = "home/.local/share/nautilus/scripts/用 Tarnwick 压缩";
    const std::string cache = "home/.local/share/nautilus-python/extensions/__pycache__";
    static constexpr auto actions = "home/.config/Thunar/uca.xml";
};

TEST_F(FileManagerMenusTest, AddsOneEntryAndRemovesItWithoutTrace) {
    createDirectories(machine / "home/.local/share/kio/servicemenus");
    write("home/.local/share/nemo/actions/other.nemo_action", "theirs");
    for (const bool hasPython : {false, true}) {
        for (const FileManager fileManager : FileManagerMenus::allFileManagers) {
            SCOPED_TRACE(name(fileManager) + (hasPython ? " with Python" : ""));
            const auto before = userFiles();
            menus.setEnabled(fileManager, true);
            EXPECT_EQ(enabled(menus), name(fileManager) + " ");
            const auto after = userFiles();
            menus.setEnabled(fileManager, true);
            EXPECT_EQ(userFiles(), after);
            for (int removals = 0; removals < 2; ++removals) {
                menus.setEnabled(fileManager, false);
                EXPECT_EQ(userFiles(), before);
                EXPECT_EQ(enabled(menus), "");
            }
        }
        installPythonPlugin("nautilus");
        installPythonPlugin("caja");
    }
    EXPECT_TRUE(entries(directories.data.appending("Tarnwick")).empty());
}

TEST_F(FileManagerMenusTest, EnablesInstalledFileManagersEvenAfterAFailure) {
    for (const std::string program : {"nautilus", "Thunar", "dolphin"}) {
        install(program);
    }
    write(actions, "<actions><action></actions>");
    EXPECT_THAT([&] { menus.enableInstalled(); }, ThrowsMessage<CompressionError>(HasSubstr("Thunar")));
    EXPECT_EQ(contents(machine / actions), "<actions><action></actions>");
    EXPECT_EQ(enabled(menus), "Nautilus（文件） Dolphin ");
    for (const auto& state : menus.states()) {
        EXPECT_EQ(state.isInstalled, state.isEnabled || state.fileManager == FileManager::thunar);
    }
    menus.setEnabled(FileManager::nemo, true);
    menus.disableAll();
    EXPECT_EQ(enabled(menus), "") << "the damaged file has no action of ours and is no obstacle";
}

TEST_F(FileManagerMenusTest, UpdatesThePathAndModeOfExistingEntries) {
    menus.setEnabled(FileManager::thunar, true);
    menus.setEnabled(FileManager::dolphin, true);
    const FileManagerMenus moved(makeApplication("elsewhere"), directories);
    EXPECT_EQ(enabled(moved), "");
    moved.refresh();
    EXPECT_EQ(enabled(moved), "Thunar Dolphin ");
    EXPECT_EQ(enabled(menus), "");
    fs::permissions((machine / "home/.local/share/kio/servicemenus/tarnwick.desktop").path(),
                    fs::perms{0644});
    EXPECT_EQ(enabled(moved), "Thunar ");
    moved.refresh();
    EXPECT_EQ(enabled(moved), "Thunar Dolphin ");
}

TEST_F(FileManagerMenusTest, ReplacesAScriptByAnExtensionAndBack) {
    menus.setEnabled(FileManager::nautilus, true);
    EXPECT_TRUE(itemExists(machine / script));
    const auto withScript = userFiles();
    for (const std::string module : {"tarnwick", "theirs"}) {
        installPythonPlugin("nautilus");
        EXPECT_EQ(enabled(menus), "") << "another entry is the best one now";
        menus.refresh();
        EXPECT_EQ(enabled(menus), "Nautilus（文件） ");
        EXPECT_FALSE(itemExists(machine / script));
        write(cache + "/tarnwick.cpython-311.pyc", "");
        write(cache + "/" + module + ".cpython-311.pyc", "");
        fs::remove_all((machine / "lib").path());
        menus.refresh();
        EXPECT_EQ(userFiles() == withScript, module == "tarnwick");
    }
    EXPECT_THAT(entries(machine / cache), ElementsAre(machine / (cache + "/theirs.cpython-311.pyc")));
}

TEST_F(FileManagerMenusTest, RefusesTheUsersFileAndPathsThatAnEntryCannotContain) {
    write(script, "#!/bin/sh\n# the user's own Tarnwick\n");
    const auto before = userFiles();
    EXPECT_THROW(menus.setEnabled(FileManager::nautilus, true), CompressionError);
    for (const std::string path : {"/opt/line\nfeed/Tarnwick", "/opt/\xFF/Tarnwick", "/opt/100%/Tarnwick"}) {
        const FileManagerMenus other(URL::file(path), directories);
        EXPECT_THROW(other.setEnabled(FileManager::nemo, true), CompressionError) << path;
    }
    menus.disableAll();
    EXPECT_EQ(userFiles(), before);
}

TEST_F(FileManagerMenusTest, ThunarStartsWithTheSystemsActionsAndKeepsTheUsers) {
    const std::string system = "<actions>\n<action><name>Terminal</name></action>\n</actions>";
    const std::string changed = "<actions>\n<action><name>theirs</name></action>\n</actions>";
    write("etc/xdg/Thunar/uca.xml", system);
    menus.setEnabled(FileManager::thunar, true);
    std::string text = contents(machine / actions);
    menus.setEnabled(FileManager::thunar, false);
    EXPECT_FALSE(itemExists(machine / actions));
    menus.setEnabled(FileManager::thunar, true);
    write(actions, text.replace(text.find("Terminal"), 8, "theirs"));
    menus.setEnabled(FileManager::thunar, false);
    EXPECT_EQ(contents(machine / actions), changed) << "the user changed the actions since";
    write(actions, system);
    menus.setEnabled(FileManager::thunar, true);
    menus.setEnabled(FileManager::thunar, false);
    EXPECT_EQ(contents(machine / actions), system) << "the user's own copy stays";
}

TEST_F(FileManagerMenusTest, KeepsTheLinkAndModeOfThunarsFile) {
    const URL target = write("home/.config/dotfiles/uca.xml", "<actions></actions>");
    fs::permissions(target.path(), fs::perms{0640});
    createDirectories((machine / actions).deletingLastPathComponent());
    fs::create_symlink("../dotfiles/uca.xml", (machine / actions).path());
    const auto before = userFiles();
    menus.setEnabled(FileManager::thunar, true);
    EXPECT_EQ(enabled(menus), "Thunar ");
    EXPECT_TRUE(fs::is_symlink((machine / actions).path()));
    menus.setEnabled(FileManager::thunar, false);
    EXPECT_EQ(userFiles(), before);
    removeFile(target);
    EXPECT_THROW(menus.setEnabled(FileManager::thunar, true), FileSystemError);
    EXPECT_TRUE(fs::is_symlink((machine / actions).path()));
}

} // namespace
} // namespace tarnwick::test
