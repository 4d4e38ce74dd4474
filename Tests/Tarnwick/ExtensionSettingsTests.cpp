#include "Foundation/FileLock.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/ModelFixture.h"
#include "TarnwickFinderSync/MenuFixture.h"

#include <QSignalSpy>

namespace tarnwick::test {
namespace {

class ExtensionSettingsTest : public MenuFixture {
protected:
    std::string rows() const {
        std::string all;
        for (int row = 0; row < settings.count(); ++row) {
            const QModelIndex index = settings.index(row);
            all += index.data(ExtensionSettings::Name).toString().toStdString() +
                   (index.data(ExtensionSettings::IsEnabled).toBool() ? " on " : " off ");
        }
        return all;
    }

    ExtensionSettings settings{menus};
    QAbstractItemModelTester tester{&settings, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(ExtensionSettingsTest, SwitchesInOrderAndShowsTheRequestedStateAtOnce) {
    install("nemo");
    install("thunar");
    settings.reload();
    ASSERT_TRUE(runUntil([this] { return rows() == "Nemo off Thunar off "; }));
    const QSignalSpy resets(&settings, &ExtensionSettings::modelReset);
    menus.setEnabled(FileManager::nemo, true);
    settings.reload();
    EXPECT_TRUE(runUntil([this] { return rows() == "Nemo on Thunar off "; }));
    EXPECT_EQ(resets.size(), 0) << "the keyboard would lose its row";
    {
        const auto lock = FileLock::acquireFolder(directories.data.appending("Tarnwick"));
        const std::pair<int, bool> switches[] = {{0, false}, {1, true}, {1, false},
                                                 {1, true},  {2, true}, {-1, true}};
        for (const auto& [row, isEnabled] : switches) {
            settings.setEnabled(row, isEnabled);
        }
        EXPECT_EQ(rows(), "Nemo off Thunar on ");
        install("dolphin");
    }
    const QSignalSpy changes(&settings, &ExtensionSettings::dataChanged);
    EXPECT_TRUE(runUntil([this] { return settings.count() == 3; }));
    settings.setEnabled(2, true);
    EXPECT_TRUE(runUntil([this] { return menus.states().back().isEnabled; })) << "the last switch, Dolphin's";
    EXPECT_EQ(rows(), "Nemo off Thunar on Dolphin on ");
    EXPECT_EQ(changes.size(), 1) << "another switch moved back and forth";
    EXPECT_EQ(enabled(menus), "Thunar Dolphin ");
}

} // namespace
} // namespace tarnwick::test
