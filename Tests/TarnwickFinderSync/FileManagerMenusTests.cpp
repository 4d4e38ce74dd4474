#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "TarnwickFinderSync/MenuFixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

namespace tarnwick::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class FileManagerMenusTests : public MenuFixture {
protected:
    static constexpr auto script = "home/.local/share/nautilus/scripts/用 Tarnwick 压缩";
    static constexpr auto extension = "home/.local/share/nautilus-python/extensions/tarnwick.py";
    static constexpr auto actions = "home/.config/Thunar/uca.xml";
};

TEST_F(FileManagerMenusTests, EntriesComeAloneAndGoWithoutTrace) {
    for (const bool hasPython : {false, true}) {
        if (hasPython) {
            installPythonPlugin("nautilus");
            installPythonPlugin("caja");
        }
        for (const FileManager fileManager : FileManagerMenus::allFileManagers) {
            SCOPED_TRACE(name(fileManager));
            const auto before = userFiles();
            menus.setEnabled(fileManager, true);
            for (const auto& state : menus.states()) {
                EXPECT_EQ(state.isEnabled, state.fileManager == fileManager) << name(state.fileManager);
            }
            const auto enabled = userFiles();
            menus.setEnabled(fileManager, true);
            EXPECT_EQ(userFiles(), enabled);
            menus.setEnabled(fileManager, false);
            EXPECT_EQ(userFiles(), before);
            EXPECT_FALSE(isEnabled(fileManager));
            menus.setEnabled(fileManager, false);
            EXPECT_EQ(userFiles(), before);
        }
    }
    EXPECT_TRUE(entries(directories.data.appending("Tarnwick")).empty());
}

TEST_F(FileManagerMenusTests, OnlyInstalledFileManagersAreEnabledTogether) {
    install("Thunar");
    install("nemo");
    menus.enableInstalled();
    for (const auto& state : menus.states()) {
        const bool isExpected =
            state.fileManager == FileManager::thunar || state.fileManager == FileManager::nemo;
        EXPECT_EQ(state.isInstalled, isExpected) << name(state.fileManager);
        EXPECT_EQ(state.isEnabled, isExpected) << name(state.fileManager);
    }
    menus.setEnabled(FileManager::dolphin, true);
    menus.disableAll();
    EXPECT_TRUE(std::none_of(FileManagerMenus::allFileManagers.begin(),
                             FileManagerMenus::allFileManagers.end(),
                             [this](FileManager fileManager) { return isEnabled(fileManager); }));
}

TEST_F(FileManagerMenusTests, TheUsersFilesAndFoldersStay) {
    createDirectories(machine / "home/.local/share/kio/servicemenus");
    write("home/.local/share/nemo/actions/other.nemo_action", "theirs");
    write(script, "#!/bin/sh\n# the user's own Tarnwick\n");
    const auto before = userFiles();
    EXPECT_THROW(menus.setEnabled(FileManager::nautilus, true), CompressionError);
    menus.setEnabled(FileManager::dolphin, true);
    menus.setEnabled(FileManager::nemo, true);
    menus.disableAll();
    EXPECT_EQ(userFiles(), before);
}

TEST_F(FileManagerMenusTests, OneFailureKeepsNoOtherFromItsEntry) {
    install("nautilus");
    install("thunar");
    install("dolphin");
    write(actions, "<actions><action></actions>");
    try {
        menus.enableInstalled();
        FAIL() << "nothing was thrown";
    } catch (const CompressionError& error) {
        EXPECT_THAT(error.errorDescription(), HasSubstr("Thunar"));
    }
    EXPECT_TRUE(isEnabled(FileManager::nautilus));
    EXPECT_TRUE(isEnabled(FileManager::dolphin));
    EXPECT_EQ(contents(machine / actions), "<actions><action></actions>");
    EXPECT_NO_THROW(menus.disableAll()) << "nothing of ours is in the damaged file";
}

TEST_F(FileManagerMenusTests, AMovedApplicationIsFollowedWhereItWasEnabled) {
    menus.setEnabled(FileManager::caja, true);
    menus.setEnabled(FileManager::thunar, true);
    const FileManagerMenus moved(makeApplication("elsewhere"), directories);
    const auto isEnabledThere = [&](FileManager fileManager) {
        return moved.states().at(static_cast<std::size_t>(fileManager)).isEnabled;
    };
    EXPECT_FALSE(isEnabledThere(FileManager::caja));
    EXPECT_FALSE(isEnabledThere(FileManager::thunar));
    moved.refresh();
    EXPECT_TRUE(isEnabledThere(FileManager::caja));
    EXPECT_TRUE(isEnabledThere(FileManager::thunar));
    EXPECT_FALSE(isEnabledThere(FileManager::nemo));
    EXPECT_FALSE(isEnabled(FileManager::caja));
}

TEST_F(FileManagerMenusTests, AScriptGivesWayToAnExtensionAndBack) {
    menus.setEnabled(FileManager::nautilus, true);
    EXPECT_TRUE(itemExists(machine / script));
    installPythonPlugin("nautilus");
    EXPECT_FALSE(isEnabled(FileManager::nautilus)) << "the best entry is another one now";
    menus.refresh();
    EXPECT_TRUE(isEnabled(FileManager::nautilus));
    EXPECT_FALSE(itemExists(machine / script));
    EXPECT_TRUE(itemExists(machine / extension));
    fs::remove_all((machine / "lib").path());
    menus.refresh();
    EXPECT_TRUE(itemExists(machine / script));
    EXPECT_FALSE(itemExists(machine / extension));
}

TEST_F(FileManagerMenusTests, WhatPythonCompiledGoesWithTheExtension) {
    installPythonPlugin("nautilus");
    const auto before = userFiles();
    menus.setEnabled(FileManager::nautilus, true);
    const std::string cache = "home/.local/share/nautilus-python/extensions/__pycache__/";
    write(cache + "tarnwick.cpython-311.pyc", "");
    menus.setEnabled(FileManager::nautilus, false);
    EXPECT_EQ(userFiles(), before);
    menus.setEnabled(FileManager::nautilus, true);
    write(cache + "tarnwick.cpython-311.pyc", "");
    write(cache + "theirs.cpython-311.pyc", "");
    menus.setEnabled(FileManager::nautilus, false);
    EXPECT_TRUE(itemExists(machine / (cache + "theirs.cpython-311.pyc")));
    EXPECT_FALSE(itemExists(machine / (cache + "tarnwick.cpython-311.pyc")));
}

TEST_F(FileManagerMenusTests, AnEntryThatLostItsRightToRunIsNotEnabled) {
    menus.setEnabled(FileManager::dolphin, true);
    fs::permissions((machine / "home/.local/share/kio/servicemenus/tarnwick.desktop").path(),
                    fs::perms{0644});
    EXPECT_FALSE(isEnabled(FileManager::dolphin));
    menus.setEnabled(FileManager::dolphin, true);
    EXPECT_TRUE(isEnabled(FileManager::dolphin));
}

TEST_F(FileManagerMenusTests, ApplicationsThatAnEntryCannotNameAreRefused) {
    const auto before = userFiles();
    for (const std::string path : {"/opt/line\nfeed/Tarnwick", "/opt/\xFF/Tarnwick"}) {
        const FileManagerMenus other(URL::file(path), directories);
        for (const FileManager fileManager : FileManagerMenus::allFileManagers) {
            EXPECT_THROW(other.setEnabled(fileManager, true), CompressionError) << name(fileManager);
        }
    }
    EXPECT_THROW(
        FileManagerMenus(URL::file("/opt/100%/Tarnwick"), directories).setEnabled(FileManager::nemo, true),
        CompressionError);
    EXPECT_EQ(userFiles(), before);
}

TEST_F(FileManagerMenusTests, ThunarBeginsWithTheSystemsActions) {
    const std::string system = "<actions>\n<action><name>Terminal</name></action>\n</actions>";
    write("etc/xdg/Thunar/uca.xml", system);
    menus.setEnabled(FileManager::thunar, true);
    EXPECT_THAT(contents(machine / actions), HasSubstr("<name>Terminal</name>"));
    menus.setEnabled(FileManager::thunar, false);
    EXPECT_FALSE(itemExists(machine / actions));
    write(actions, system);
    menus.setEnabled(FileManager::thunar, true);
    menus.setEnabled(FileManager::thunar, false);
    EXPECT_EQ(contents(machine / actions), system) << "the user's own copy stays";
}

TEST_F(FileManagerMenusTests, AThunarFileThatTheUserChangedSinceStays) {
    menus.setEnabled(FileManager::thunar, true);
    std::string text = contents(machine / actions);
    text.insert(text.find("</actions>"), "<action><name>theirs</name></action>\n");
    write(actions, text);
    menus.setEnabled(FileManager::thunar, false);
    EXPECT_EQ(contents(machine / actions), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<actions>\n"
                                           "<action><name>theirs</name></action>\n</actions>\n");
}

TEST_F(FileManagerMenusTests, ALinkedThunarFileKeepsItsLinkAndMode) {
    const URL target = write("home/.config/dotfiles/uca.xml", "<actions></actions>");
    fs::permissions(target.path(), fs::perms{0640});
    createDirectories((machine / actions).deletingLastPathComponent());
    fs::create_symlink("../dotfiles/uca.xml", (machine / actions).path());
    const auto before = userFiles();
    menus.setEnabled(FileManager::thunar, true);
    EXPECT_TRUE(isEnabled(FileManager::thunar));
    EXPECT_TRUE(fs::is_symlink((machine / actions).path()));
    menus.setEnabled(FileManager::thunar, false);
    EXPECT_EQ(userFiles(), before);
    removeFile(target);
    EXPECT_THROW(menus.setEnabled(FileManager::thunar, true), FileSystemError);
    EXPECT_TRUE(fs::is_symlink((machine / actions).path()));
}

} // namespace
} // namespace tarnwick::test
