#include "Process/ToolRunner.h"
#include "TarnwickFinderSync/MenuFixture.h"

#include <sstream>

namespace tarnwick::test {
namespace {

using namespace testing;

struct Entry {
    std::string kind;
    FileManagerMenus::FileManager fileManager;
    std::string file;
};

class LaunchTest : public MenuFixture {
protected:
    /// The names of the files that the application receives when the user chooses the entry for these files.
    std::vector<std::string> choose(const Entry& entry, const std::vector<std::string>& names) const {
        write("received", "");
        std::vector<std::string> arguments = {entry.kind, (machine / entry.file).path()};
        for (const std::string& name : names) {
            arguments.push_back((machine / name).path());
        }
        ToolRunner(URL::file(TARNWICK_FINDER_SYNC_TESTS)).run("fake-file-manager.py", arguments, 60);
        std::vector<std::string> received;
        std::istringstream text(contents(machine / "received"));
        for (std::string argument; std::getline(text, argument, '\0');) {
            const URL file = argument.starts_with("file:") ? *URL::parse(argument) : URL::file(argument);
            EXPECT_EQ(file.deletingLastPathComponent(), machine.url());
            received.push_back(file.lastPathComponent());
        }
        return received;
    }

    const Entry script{"nautilus-script", FileManager::nautilus,
                       "home/.local/share/nautilus/scripts/用 Tarnwick 压缩"};
    const Entry extension{"nautilus", FileManager::nautilus,
                          "home/.local/share/nautilus-python/extensions/tarnwick.py"};
    const Entry thunar{"thunar", FileManager::thunar, "home/.config/Thunar/uca.xml"};
    const Entry dolphin{"dolphin", FileManager::dolphin,
                        "home/.local/share/kio/servicemenus/tarnwick.desktop"};
    const std::vector<std::string> pictures = std::vector<std::string>(
        {"a b.png", "it's \"quoted\".JPG", "line\nfeed\n.gif", "-i.jpeg", "中文 图.heic", "back\\slash\\.png",
         "100%25 $HOME ${x} `id` $(id) %F.PNG", "\xFF\xFE.jpg", " * ? [a] ~ # ; & | < > !.HEIF"});
};

TEST_F(LaunchTest, PassesAnyFileName) {
    for (const Entry& entry : std::vector<Entry>{
             script,
             {"caja-script", FileManager::caja, "home/.config/caja/scripts/用 Tarnwick 压缩"},
             {"nemo", FileManager::nemo, "home/.local/share/nemo/actions/tarnwick.nemo_action"},
             thunar,
             dolphin,
             extension,
             {"nautilus-42", FileManager::nautilus, extension.file},
             {"caja", FileManager::caja, "home/.local/share/caja-python/extensions/tarnwick.py"}}) {
        if (entry.file.ends_with(".py")) {
            installPythonPlugin(entry.kind.substr(0, entry.kind.find('-')));
        }
        menus.setEnabled(entry.fileManager, true);
        EXPECT_THAT(choose(entry, pictures), ElementsAreArray(pictures)) << entry.kind;
    }
}

TEST_F(LaunchTest, EscapesPercentSignsInTheApplicationsPath) {
    const FileManagerMenus other(makeApplication("100%F %% %U"), directories);
    for (const Entry& entry : {thunar, dolphin}) {
        other.setEnabled(entry.fileManager, true);
        EXPECT_THAT(choose(entry, pictures), ElementsAreArray(pictures)) << entry.kind;
    }
}

TEST_F(LaunchTest, PassesOnlyPictures) {
    menus.setEnabled(FileManager::nautilus, true);
    EXPECT_THAT(choose(script, {"notes.txt", "a.png", "png", "b.png.bak"}), ElementsAre("a.png"));
    EXPECT_THAT(choose(script, {"notes.txt"}), IsEmpty());
    EXPECT_EQ(contents(machine / "received"), "") << "the application must not start without pictures";
    installPythonPlugin("nautilus");
    menus.setEnabled(FileManager::nautilus, true);
    EXPECT_THAT(choose(extension, {"notes.txt", "a.png"}), IsEmpty());
}

} // namespace
} // namespace tarnwick::test
