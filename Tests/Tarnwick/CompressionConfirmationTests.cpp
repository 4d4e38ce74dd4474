#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Model/CompressionConfirmation.h"
#include "Tarnwick/ModelFixture.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <gmock/gmock.h>

#include <utility>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Alerts final : public AlertPresenter {
public:
    void show(const Alert& alert, Answer answer) override {
        messages.push_back(alert.message.toStdString());
        if (const Answer earlier = std::exchange(answer_, std::move(answer))) {
            earlier(false);
        }
    }
    void finish(bool isFirstButton) { std::exchange(answer_, nullptr)(isFirstButton); }

    std::vector<std::string> messages;

private:
    Answer answer_;
};

class CompressionConfirmationTest : public ModelFixture {
protected:
    void SetUp() override {
        ModelFixture::SetUp();
        start();
        files.emplace(*model, alerts);
    }

    Alerts alerts;
    std::optional<CompressionConfirmation> files;
};

TEST_F(CompressionConfirmationTest, WhatWasAskedForNeedsNoQuestion) {
    files->open({toQUrl(largePicture("photo.png"))}, true);
    files->open({}, false);
    settle();
    EXPECT_THAT(alerts.messages, IsEmpty());
    EXPECT_EQ(model->tasks()->count(), 1);
}

TEST_F(CompressionConfirmationTest, WhatWasOnlyOpenedIsCompressedWhenTheUserAgrees) {
    const URL first = largePicture("first.png");
    const URL second = largePicture("second.png");
    files->open({toQUrl(first)}, false);
    files->open({toQUrl(second)}, false);
    EXPECT_THAT(alerts.messages, ElementsAre("要压缩“first.png”吗？", "要压缩这 2 个文件吗？"));
    EXPECT_EQ(model->tasks()->count(), 0);
    alerts.finish(true);
    settle();
    EXPECT_EQ(contents(first), textOf(small));
    EXPECT_EQ(contents(second), textOf(small));

    const URL third = largePicture("third.png");
    files->open({toQUrl(third)}, false);
    alerts.finish(false);
    settle();
    EXPECT_EQ(contents(third), textOf(large));
    EXPECT_EQ(alerts.messages.back(), "要压缩“third.png”吗？");
    EXPECT_EQ(model->tasks()->count(), 2);
}

} // namespace
} // namespace tarnwick::test
