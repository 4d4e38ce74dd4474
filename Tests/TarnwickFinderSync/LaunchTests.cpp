#include "TarnwickFinderSync/MenuFixture.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace tarnwick::test {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

class LaunchTests : public MenuFixture {
protected:
    std::vector<std::string> paths(const std::vector<std::string>& names) const {
        std::vector<std::string> result;
        result.reserve(names.size());
        for (const std::string& name : names) {
            result.push_back((machine / name).path());
        }
        return result;
    }

    /// What the application gets when the entry is chosen for these files.
    std::vector<std::string> choose(const std::string& kind, const std::string& entry,
                                    const std::vector<std::string>& files) const {
        removeFile(machine / "received");
        std::vector<std::string> command = {"python3", TARNWICK_FAKE_FILE_MANAGER, kind,
                                            (machine / entry).path()};
        command.insert(command.end(), files.begin(), files.end());
        const ProcessEnd end = run({std::string("PATH=") + std::getenv("PATH"), "LC_ALL=C.UTF-8"}, command);
        EXPECT_EQ(end.status, 0) << kind << ": " << end.errors;
        return received();
    }

    const std::vector<std::string> pictures = paths(
        {"a b.png", "it's \"quoted\".JPG", "line\nfeed\n.gif", "-i.jpeg", "中文 图.heic", "back\\slash\\.png",
         "100%25 $HOME ${x} `id` $(id) %F.PNG", "\xFF\xFE.jpg", " * ? [a] ~ # ; & | < > !.HEIF"});
};

struct Entry {
    std::string kind;
    FileManagerMenus::FileManager fileManager;
    std::string file;
};

TEST_F(LaunchTests, AnyNameReachesTheApplication) {
    const std::vector<Entry> plain = {
        {"nautilus-script", FileManager::nautilus, "home/.local/share/nautilus/scripts/用 Tarnwick 压缩"},
        {"caja-script", FileManager::caja, "home/.config/caja/scripts/用 Tarnwick 压缩"},
        {"nemo", FileManager::nemo, "home/.local/share/nemo/actions/tarnwick.nemo_action"},
        {"thunar", FileManager::thunar, "home/.config/Thunar/uca.xml"},
        {"dolphin", FileManager::dolphin, "home/.local/share/kio/servicemenus/tarnwick.desktop"}};
    const std::string extension = "-python/extensions/tarnwick.py";
    const std::vector<Entry> python = {
        {"nautilus", FileManager::nautilus, "home/.local/share/nautilus" + extension},
        {"nautilus-42", FileManager::nautilus, "home/.local/share/nautilus" + extension},
        {"caja", FileManager::caja, "home/.local/share/caja" + extension}};
    for (const auto& entries : {plain, python}) {
        for (const Entry& entry : entries) {
            menus.setEnabled(entry.fileManager, true);
            EXPECT_THAT(choose(entry.kind, entry.file, pictures), ElementsAreArray(pictures)) << entry.kind;
        }
        installPythonPlugin("nautilus");
        installPythonPlugin("caja");
    }
}

TEST_F(LaunchTests, APercentSignInTheApplicationsPathIsItself) {
    const FileManagerMenus other(makeApplication("100%F %% %U"), directories);
    other.setEnabled(FileManager::thunar, true);
    other.setEnabled(FileManager::dolphin, true);
    EXPECT_THAT(choose("thunar", "home/.config/Thunar/uca.xml", pictures), ElementsAreArray(pictures));
    EXPECT_THAT(choose("dolphin", "home/.local/share/kio/servicemenus/tarnwick.desktop", pictures),
                ElementsAreArray(pictures));
}

TEST_F(LaunchTests, OtherFilesAreNotPassedOn) {
    const std::string script = "home/.local/share/nautilus/scripts/用 Tarnwick 压缩";
    menus.setEnabled(FileManager::nautilus, true);
    EXPECT_THAT(choose("nautilus-script", script, paths({"notes.txt", "a.png", "png", "b.png.bak"})),
                ElementsAreArray(paths({"a.png"})));
    EXPECT_THAT(choose("nautilus-script", script, paths({"notes.txt"})), IsEmpty());
    EXPECT_FALSE(itemExists(machine / "received")) << "the application is not started for nothing";
    installPythonPlugin("nautilus");
    menus.setEnabled(FileManager::nautilus, true);
    EXPECT_THAT(choose("nautilus", "home/.local/share/nautilus-python/extensions/tarnwick.py",
                       paths({"notes.txt", "a.png"})),
                IsEmpty());
}

} // namespace
} // namespace tarnwick::test
