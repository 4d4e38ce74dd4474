#include "Tarnwick/Model/CompressionConfirmation.h"
#include "Tarnwick/ModelFixture.h"
#include "Tarnwick/QtSupport/QtConversions.h"

namespace tarnwick::test {
namespace {

class CompressionConfirmationTest : public ModelFixture {};

TEST_F(CompressionConfirmationTest, AsksOnceAboutAllFilesThatWereOnlyOpened) {
    start();
    FakeAlerts alerts;
    CompressionConfirmation confirmation(*model, alerts);
    confirmation.open({toQUrl(largePicture("requested.png"))}, true);
    confirmation.open({}, false);
    EXPECT_FALSE(alerts.isOpen());
    EXPECT_EQ(model->tasks()->count(), 1);

    const URL first = largePicture("first.png");
    const URL second = largePicture("second.png");
    confirmation.open({toQUrl(first)}, false);
    EXPECT_EQ(alerts.shown.back().message, "要压缩“first.png”吗？");
    confirmation.open({toQUrl(second)}, false);
    EXPECT_EQ(alerts.shown.back().message, "要压缩这 2 个文件吗？");
    EXPECT_EQ(model->tasks()->count(), 1);
    alerts.answer(true);
    settle();
    EXPECT_EQ(contents(first) + contents(second), small + small);

    confirmation.open({toQUrl(largePicture("third.png"))}, false);
    EXPECT_EQ(alerts.shown.back().message, "要压缩“third.png”吗？");
    alerts.answer(false);
    EXPECT_EQ(model->tasks()->count(), 3);
}

} // namespace
} // namespace tarnwick::test
