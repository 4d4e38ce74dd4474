#include "Foundation/FileLock.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/ModelFixture.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <filesystem>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;

class ExtensionSettingsTest : public testing::Test {
protected:
    void install(const std::string& program) const {
        createDirectories(machine / "bin");
        std::filesystem::copy_file("/bin/true", (machine / "bin").appending(program).path());
    }
    std::vector<std::string> rows() const {
        std::vector<std::string> lines;
        for (int row = 0; row < settings.count(); ++row) {
            const QModelIndex index = settings.index(row);
            lines.push_back(index.data(ExtensionSettings::Name).toString().toStdString() +
                            (index.data(ExtensionSettings::IsEnabled).toBool() ? " on" : " off"));
        }
        return lines;
    }

    TemporaryFolder machine;
    FileManagerMenus menus{machine / "Tarnwick",
                           {.data = machine / "data",
                            .configuration = machine / "config",
                            .systemConfiguration = {},
                            .executables = {machine / "bin"},
                            .libraries = {}}};
    ExtensionSettings settings{menus};
    QAbstractItemModelTester tester{&settings, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(ExtensionSettingsTest, SwitchesInOrderAndShowsTheRequestedStateAtOnce) {
    install("nemo");
    install("thunar");
    settings.reload();
    ASSERT_TRUE(runUntil([this] { return settings.isLoaded(); }));
    EXPECT_THAT(rows(), ElementsAre("Nemo off", "Thunar off"));
    const QSignalSpy resets(&settings, &ExtensionSettings::modelReset);
    menus.setEnabled(FileManagerMenus::FileManager::nemo, true);
    settings.reload();
    EXPECT_TRUE(runUntil([this] { return rows().front() == "Nemo on"; }));
    EXPECT_EQ(resets.size(), 0) << "the keyboard would lose its row";
    {
        const auto lock = FileLock::acquireFolder(machine / "data/Tarnwick");
        settings.setEnabled(0, false);
        settings.setEnabled(1, true);
        settings.setEnabled(1, false);
        settings.setEnabled(1, true);
        settings.setEnabled(2, true);
        settings.setEnabled(-1, true);
        EXPECT_THAT(rows(), ElementsAre("Nemo off", "Thunar on"));
        install("dolphin");
    }
    const QSignalSpy changes(&settings, &ExtensionSettings::dataChanged);
    EXPECT_TRUE(runUntil([this] { return settings.count() == 3; }));
    settings.setEnabled(2, true);
    EXPECT_TRUE(runUntil([this] { return menus.states().back().isEnabled; })) << "the last switch, Dolphin's";
    EXPECT_THAT(rows(), ElementsAre("Nemo off", "Thunar on", "Dolphin on"));
    EXPECT_EQ(changes.size(), 1) << "another switch moved back and forth";
    std::vector<bool> enabled;
    for (const auto& state : menus.states()) {
        enabled.push_back(state.isEnabled);
    }
    EXPECT_THAT(enabled, ElementsAre(false, false, false, true, true));
}

} // namespace
} // namespace tarnwick::test
