#include "Foundation/CompressionError.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/ModelFixture.h"

#include <gmock/gmock.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// File managers that are only remembered. The gate holds calls back.
class FakeExtensions final : public FileManagerExtensions {
public:
    std::vector<State> states() const override {
        const std::lock_guard lock(gate);
        if (isUnreadable) {
            throw CompressionError::fileOperation("无法读取");
        }
        return machine;
    }
    void setEnabled(const QString& name, bool isEnabled) override {
        const std::lock_guard lock(gate);
        const auto found = std::find_if(machine.begin(), machine.end(),
                                        [&](const State& state) { return state.name == name; });
        if (found == machine.end() || name == refusing) {
            throw CompressionError::fileOperation("无法写入 " + name.toStdString());
        }
        found->isEnabled = isEnabled;
        switches.push_back(name.toStdString() + (isEnabled ? " on" : " off"));
    }

    std::vector<std::string> switched() const {
        const std::lock_guard lock(gate);
        return switches;
    }

    mutable std::mutex gate;
    std::vector<State> machine = {{.name = "Nautilus", .isEnabled = true}, {.name = "Thunar"}};
    QString refusing;
    bool isUnreadable = false;

private:
    std::vector<std::string> switches;
};

class ExtensionSettingsTest : public testing::Test {
protected:
    std::vector<std::string> rows() const {
        std::vector<std::string> lines;
        for (int row = 0; row < settings.count(); ++row) {
            const QModelIndex index = settings.index(row);
            lines.push_back(index.data(ExtensionSettings::Name).toString().toStdString() +
                            (index.data(ExtensionSettings::IsEnabled).toBool() ? " on" : " off"));
        }
        return lines;
    }
    void load() {
        settings.reload();
        ASSERT_TRUE(waitUntil([this] { return settings.isLoaded(); }));
    }

    FakeExtensions extensions;
    ExtensionSettings settings{extensions};
    QAbstractItemModelTester tester{&settings, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(ExtensionSettingsTest, ListsWhatTheMachineHas) {
    EXPECT_FALSE(settings.isLoaded());
    QSignalSpy shown(&settings, &ExtensionSettings::showRequested);
    settings.showExtensionManagementInterface();
    EXPECT_EQ(shown.size(), 1);
    ASSERT_TRUE(waitUntil([this] { return settings.isLoaded(); }));
    EXPECT_THAT(rows(), ElementsAre("Nautilus on", "Thunar off"));
    EXPECT_THAT(extensions.switched(), IsEmpty());

    const QSignalSpy resets(&settings, &ExtensionSettings::modelReset);
    extensions.machine[1].isEnabled = true;
    settings.reload();
    EXPECT_TRUE(waitUntil([&] { return rows().back() == "Thunar on"; }));
    EXPECT_EQ(resets.size(), 0) << "the keyboard would lose its row";
    extensions.machine.clear();
    settings.reload();
    EXPECT_TRUE(waitUntil([&] { return settings.count() == 0; }));
    EXPECT_TRUE(settings.isLoaded());
}

TEST_F(ExtensionSettingsTest, SwitchesInOrderAndShowsAtOnceWhatWasAskedFor) {
    load();
    {
        const std::lock_guard lock(extensions.gate);
        settings.setEnabled(0, false);
        settings.setEnabled(1, true);
        settings.setEnabled(1, false);
        settings.setEnabled(1, true);
        settings.setEnabled(2, true);
        settings.setEnabled(-1, true);
        EXPECT_THAT(rows(), ElementsAre("Nautilus off", "Thunar on"));
    }
    const QSignalSpy changes(&settings, &ExtensionSettings::dataChanged);
    {
        const std::lock_guard lock(extensions.gate);
        extensions.machine.push_back({.name = "Dolphin"});
    }
    settings.reload();
    EXPECT_TRUE(waitUntil([&] { return settings.count() == 3; }));
    EXPECT_TRUE(waitUntil([&] { return extensions.switched().size() == 4; }));
    EXPECT_THAT(extensions.switched(), ElementsAre("Nautilus off", "Thunar on", "Thunar off", "Thunar on"));
    EXPECT_THAT(rows(), ElementsAre("Nautilus off", "Thunar on", "Dolphin off"));
    EXPECT_EQ(changes.size(), 0) << "a switch went back and forth";
}

TEST_F(ExtensionSettingsTest, AFailureIsToldAndSwitchesBack) {
    load();
    extensions.refusing = "Thunar";
    settings.setEnabled(1, true);
    EXPECT_THAT(rows(), ElementsAre("Nautilus on", "Thunar on"));
    ASSERT_TRUE(waitUntil([this] { return !settings.failure().isEmpty(); }));
    EXPECT_EQ(settings.failure(), "无法写入 Thunar");
    EXPECT_THAT(rows(), ElementsAre("Nautilus on", "Thunar off"));
    settings.setEnabled(0, false);
    EXPECT_TRUE(waitUntil([this] { return settings.failure().isEmpty(); }));

    extensions.isUnreadable = true;
    settings.setEnabled(0, true);
    ASSERT_TRUE(waitUntil([this] { return !settings.failure().isEmpty(); }));
    EXPECT_EQ(settings.failure(), "无法读取");
    EXPECT_THAT(rows(), IsEmpty()) << "what is not known is not shown";
    EXPECT_FALSE(settings.isLoaded());
    extensions.isUnreadable = false;
    load();
    EXPECT_THAT(rows(), ElementsAre("Nautilus on", "Thunar off"));
    EXPECT_EQ(settings.failure(), "");
}

} // namespace
} // namespace tarnwick::test
