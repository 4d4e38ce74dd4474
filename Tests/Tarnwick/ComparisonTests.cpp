#include "Tarnwick/Model/ComparisonModel.h"
#include "Tarnwick/Model/ComparisonPreparation.h"
#include "Tarnwick/ModelFixture.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <cmath>
#include <limits>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;

constexpr QPointF centre = {400, 300};
constexpr QPointF corner = {0, 0};

class ComparisonModelTest : public testing::Test {
protected:
    /// 1600 × 600 fits an 800 × 600 viewport by its width, at a scale of 0.5.
    ComparisonModelTest() {
        setSize(1600, 600);
        model.setViewport({800, 600});
    }
    void setSize(int width, int height) {
        ComparisonItem item;
        item.width = width;
        item.height = height;
        model.setItem(item);
    }
    void zoomIn(int times) {
        for (int press = 0; press < times; ++press) {
            model.zoomBy(1.25, centre);
        }
    }
    void drag(QPointF translation) {
        model.beginDrag();
        model.drag(translation);
    }
    /// The zoom and the offset.
    std::vector<double> state() const { return {model.zoom(), model.offset().x(), model.offset().y()}; }

    ComparisonModel model;
};

TEST_F(ComparisonModelTest, FitsWithoutEnlarging) {
    EXPECT_EQ(model.scale(), 0.5);
    setSize(10, 1200);
    EXPECT_EQ(model.scale(), 0.5);
    setSize(10, 10);
    EXPECT_EQ(model.scale(), 1);
}

TEST_F(ComparisonModelTest, KeepsTheZoomWithinItsLimits) {
    model.zoomBy(0.8, corner);
    EXPECT_THAT(state(), ElementsAre(1, 0, 0));
    zoomIn(5);
    EXPECT_NEAR(model.zoom(), 3.0518, 1e-4);
    zoomIn(20);
    const std::vector<double> before = state();
    EXPECT_EQ(before.front(), 16);
    for (const double factor : {0.0, -2.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        model.zoomBy(factor, corner);
        EXPECT_EQ(state(), before);
    }
    model.setActualSize(true);
    model.zoomBy(0.01, centre);
    EXPECT_EQ(model.zoom(), 0.5);
    model.zoomBy(1000, centre);
    EXPECT_EQ(model.zoom(), 16);
}

TEST_F(ComparisonModelTest, KeepsTheAnchorInPlaceUpToTheEdges) {
    // 200 right of and 50 below the centre, times 1 - 4.
    model.zoomBy(4, {600, 350});
    EXPECT_THAT(state(), ElementsAre(4, -600, -150));
    // No higher than the viewport: centred.
    model.zoomBy(0.5, {600, 350});
    EXPECT_THAT(state(), ElementsAre(2, -200, 0));
    drag({5000, 5000});
    EXPECT_THAT(state(), ElementsAre(2, 400, 0));
    drag({-5000, 0});
    EXPECT_THAT(state(), ElementsAre(2, -400, 0));
}

TEST_F(ComparisonModelTest, ZoomsInAndOutByDoubleClicks) {
    model.doubleClick({500, 300});
    EXPECT_THAT(state(), ElementsAre(2, -100, 0));
    model.doubleClick(corner);
    EXPECT_THAT(state(), ElementsAre(1, 0, 0));
    model.zoomBy(1.005, centre);
    model.doubleClick(centre);
    EXPECT_NEAR(model.zoom(), 2.01, 1e-9);
}

TEST_F(ComparisonModelTest, ReadsScrollEvents) {
    const std::vector<std::pair<ScrollEvent, double>> events = {
        {{.coarseDelta = 1}, 0.12},
        {{.coarseDelta = -1, .hasControl = true}, -0.12},
        {{.coarseDelta = 50}, 0.5},
        {{.coarseDelta = -50}, -0.5},
        {{.preciseDelta = 10, .isPrecise = true, .hasControl = true}, 0.08},
        {{.preciseDelta = 0.00005, .coarseDelta = 2}, 0.24}};
    for (const auto& [event, exponent] : events) {
        EXPECT_NEAR(magnification(event).value_or(NAN) + 1, std::exp(exponent), 1e-12) << exponent;
    }
    EXPECT_FALSE(magnification({.preciseDelta = 10, .isPrecise = true}));
    model.requestZoomIn();
    model.performZoomRequest();
    model.beginDrag();
    model.drag({60, 10});
    model.drag({-70, 10});
    EXPECT_THAT(state(), ElementsAre(1.25, -70, 0));
    EXPECT_TRUE(std::isnan(model.wheelMagnification({-10, 4}, {0, 0.1}, false)));
    model.pan({-10, 4});
    EXPECT_THAT(state(), ElementsAre(1.25, -80, 0));
    model.magnify(model.wheelMagnification({0, 0}, {0, -50}, false), centre);
    EXPECT_EQ(model.zoom(), 1);
    model.magnify(1, centre);
    EXPECT_EQ(model.zoom(), 2);
}

TEST_F(ComparisonModelTest, ZoomsByButtonsAndShowsTheActualSize) {
    model.requestZoomIn();
    EXPECT_EQ(model.zoomRequest(), 1.25);
    model.performZoomRequest();
    EXPECT_EQ(model.zoomRequest(), 0);
    EXPECT_EQ(model.percent(), 63);
    EXPECT_EQ(model.displayedSize(), QSizeF(1000, 375));
    model.setActualSize(true);
    EXPECT_EQ(model.displayedSize(), QSizeF(1600, 600));
    model.zoomBy(0.5, centre);
    model.setViewport({1600, 600});
    EXPECT_EQ(model.zoom(), 1) << "the new smallest zoom";
    model.setActualSize(false);
    EXPECT_EQ(model.percent(), 100);
}

TEST_F(ComparisonModelTest, KeepsTheSplitInside) {
    const QSignalSpy changes(&model, &ComparisonModel::splitChanged);
    model.stepSplit(3);
    EXPECT_NEAR(model.split(), 0.56, 1e-9);
    model.stepSplit(-100);
    EXPECT_EQ(model.split(), 0);
    model.setSplit(1.5);
    EXPECT_EQ(model.split(), 1);
    model.setSplit(std::nan(""));
    model.setSplit(2);
    EXPECT_EQ(model.split(), 1);
    EXPECT_EQ(changes.size(), 3);
    model.setItem(ComparisonItem());
    EXPECT_EQ(model.split(), 0.5);
}

TEST_F(ComparisonModelTest, DoesNothingWithoutAPictureOrAViewport) {
    model.setItem(ComparisonItem());
    model.zoomBy(2, {0, 0});
    model.doubleClick({0, 0});
    model.drag({5, 5});
    EXPECT_EQ(model.zoom(), 1);
    EXPECT_EQ(model.displayedSize(), QSizeF(0, 0));
}

class ComparisonTest : public ModelFixture {
protected:
    /// The text of the failure; empty without one.
    QString failureOf(const UndoRecord& record) {
        std::optional<AppModel::ComparisonOutcome> found;
        model->comparisonItem(record, [&](const AppModel::ComparisonOutcome& answer) { found = answer; });
        EXPECT_TRUE(runUntil([&] { return found.has_value(); }));
        const auto* failure = std::get_if<QString>(&*found);
        return failure == nullptr ? "" : *failure;
    }
};

TEST_F(ComparisonTest, DescribesBothFiles) {
    const UndoRecord record = replaced("photo.png");
    start();
    QSignalSpy answers(&*model, &AppModel::comparisonReady);
    model->compare(idOf(0));
    ASSERT_TRUE(runUntil([&] { return !answers.empty(); }));
    EXPECT_EQ(answers.at(0).at(0), idOf(0));
    const auto item = answers.at(0).at(1).value<ComparisonItem>();
    EXPECT_EQ(item, (ComparisonItem{.name = "photo.png",
                                    .original = toQUrl(store.backupURL(record)),
                                    .compressed = toQUrl(record.originalURL()),
                                    .originalBytes = std::ssize(large),
                                    .compressedBytes = std::ssize(small),
                                    .width = 32,
                                    .height = 24,
                                    .originalHash = toQString(*record.originalHash),
                                    .replacementHash = toQString(record.replacementHash)}));
    EXPECT_TRUE(item.badgeText().startsWith("↓ "));
}

TEST_F(ComparisonTest, SwapsTheSidesOfATurnedPicture) {
    const URL photo = original("noise-turned.jpg");
    const URL winner = test::picture("noise-small-turned.jpg");
    const UndoRecord record = store.commit(store.prepare(photo, winner, UUID::random()));
    copyPicture("noise-small-turned.jpg", photo);
    const ComparisonItem item = prepareComparison(store, record, Date::now());
    EXPECT_EQ(item.width, 24);
    EXPECT_EQ(item.height, 32);
}

TEST_F(ComparisonTest, RefusesAnExpiredOrChangedPair) {
    const UndoRecord record = replaced("photo.png", 60);
    start();
    desktop.time = record.createdAt.adding(UndoStore::backupRetention);
    EXPECT_EQ(failureOf(record), "原图备份已过期，无法对比。");
    EXPECT_TRUE(store.hasBackup(record));
    desktop.time = desktop.time.adding(-1);
    EXPECT_EQ(failureOf(record), "");
    pictures.file("photo.png", large);
    EXPECT_EQ(failureOf(record), "压缩后的图片已被修改");
    store.removeBackup(record);
    QSignalSpy failures(&*model, &AppModel::comparisonFailed);
    model->compare(idOf(0));
    ASSERT_TRUE(runUntil([&] { return !failures.empty(); }));
    EXPECT_EQ(failures.at(0).at(1), "原图备份已不存在");
}

} // namespace
} // namespace tarnwick::test
