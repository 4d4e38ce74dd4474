#include "Foundation/CompressionError.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/ModelFixture.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <algorithm>
#include <mutex>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// File managers in memory. Calls wait while the test locks the gate.
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
        switches_.push_back(name.toStdString() + (isEnabled ? " on" : " off"));
        std::find_if(machine.begin(), machine.end(), [&](const State& state) {
            return state.name == name;
        })->isEnabled = isEnabled;
    }

    std::vector<std::string> switched() const {
        const std::lock_guard lock(gate);
        return switches_;
    }

    mutable std::mutex gate;
    std::vector<State> machine = {{.name = "Nautilus", .isEnabled = true}, {.name = "Thunar"}};
    bool isUnreadable = false;

private:
    std::vector<std::string> switches_;
};

class ExtensionSettingsTest : public testing::Test {
protected:
    void load() {
        settings.reload();
        ASSERT_TRUE(runUntil([this] { return settings.isLoaded(); }));
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

    FakeExtensions extensions;
    ExtensionSettings settings{extensions};
    QAbstractItemModelTester tester{&settings, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(ExtensionSettingsTest, SwitchesInOrderAndShowsTheRequestedStateAtOnce) {
    load();
    EXPECT_THAT(rows(), ElementsAre("Nautilus on", "Thunar off"));
    const QSignalSpy resets(&settings, &ExtensionSettings::modelReset);
    extensions.machine[0].isEnabled = false;
    settings.reload();
    EXPECT_TRUE(runUntil([this] { return rows().front() == "Nautilus off"; }));
    EXPECT_EQ(resets.size(), 0) << "the keyboard would lose its row";
    {
        const std::lock_guard lock(extensions.gate);
        settings.setEnabled(0, true);
        settings.setEnabled(1, true);
        settings.setEnabled(1, false);
        settings.setEnabled(1, true);
        settings.setEnabled(2, true);
        settings.setEnabled(-1, true);
        EXPECT_THAT(rows(), ElementsAre("Nautilus on", "Thunar on"));
        extensions.machine.push_back({.name = "Dolphin"});
    }
    const QSignalSpy changes(&settings, &ExtensionSettings::dataChanged);
    EXPECT_TRUE(runUntil([this] { return settings.count() == 3 && extensions.switched().size() == 4; }));
    EXPECT_THAT(extensions.switched(), ElementsAre("Nautilus on", "Thunar on", "Thunar off", "Thunar on"));
    EXPECT_THAT(rows(), ElementsAre("Nautilus on", "Thunar on", "Dolphin off"));
    EXPECT_EQ(changes.size(), 0) << "a switch moved back and forth";
}

TEST_F(ExtensionSettingsTest, ShowsNoRowsAfterAFailedRead) {
    load();
    extensions.isUnreadable = true;
    settings.setEnabled(0, false);
    ASSERT_TRUE(runUntil([this] { return settings.failure() == "无法读取"; }));
    EXPECT_THAT(rows(), IsEmpty());
    EXPECT_FALSE(settings.isLoaded());
    extensions.isUnreadable = false;
    load();
    EXPECT_THAT(rows(), ElementsAre("Nautilus off", "Thunar off"));
    EXPECT_EQ(settings.failure(), "");
}

} // namespace
} // namespace tarnwick::test
