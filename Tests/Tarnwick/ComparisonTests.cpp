#include "Tarnwick/Model/ComparisonModel.h"
#include "Tarnwick/Model/ComparisonPreparation.h"
#include "Tarnwick/ModelFixture.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <QSignalSpy>
#include <cmath>
#include <limits>

namespace tarnwick::test {
namespace {

using namespace testing;

constexpr QPointF centre = {400, 300};
constexpr QPointF corner = {0, 0};

class ComparisonModelTest : public Test {
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
    /// The zoom and the offset.
    std::vector<double> state() const { return {model.zoom(), model.offset().x(), model.offset().y()}; }
    std::vector<double> zoomed(double factor, QPointF anchor) {
        model.zoomBy(factor, anchor);
        return state();
    }
    std::vector<double> dragged(QPointF translation) {
        model.beginDrag();
        model.drag(translation);
        return state();
    }
    std::vector<double> doubleClicked(QPointF position) {
        model.doubleClick(position);
        return state();
    }

    ComparisonModel model;
};

TEST_F(ComparisonModelTest, FitsWithoutEnlarging) {
    setSize(10, 1200);
    EXPECT_EQ(model.scale(), 0.5);
    setSize(10, 10);
    EXPECT_EQ(model.scale(), 1);
}

TEST_F(ComparisonModelTest, KeepsTheZoomWithinItsLimits) {
    EXPECT_THAT(zoomed(0.8, corner), ElementsAre(1, 0, 0));
    EXPECT_THAT(zoomed(1000, centre), ElementsAre(16, 0, 0));
    for (const double factor : {0.0, -2.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        EXPECT_THAT(zoomed(factor, corner), ElementsAre(16, 0, 0));
    }
    model.setActualSize(true);
    EXPECT_THAT(zoomed(0.01, centre), ElementsAre(0.5, 0, 0));
    EXPECT_THAT(zoomed(1000, centre), ElementsAre(16, 0, 0));
}

TEST_F(ComparisonModelTest, KeepsTheAnchorInPlaceUpToTheEdges) {
    // 200 right of and 50 below the centre, times 1 - 4.
    EXPECT_THAT(zoomed(4, {600, 350}), ElementsAre(4, -600, -150));
    // No higher than the viewport: centred.
    EXPECT_THAT(zoomed(0.5, {600, 350}), ElementsAre(2, -200, 0));
    EXPECT_THAT(dragged({5000, 5000}), ElementsAre(2, 400, 0));
    EXPECT_THAT(dragged({-5000, 0}), ElementsAre(2, -400, 0));
}

TEST_F(ComparisonModelTest, ZoomsInAndOutByDoubleClicks) {
    EXPECT_THAT(doubleClicked({500, 300}), ElementsAre(2, -100, 0));
    EXPECT_THAT(doubleClicked(corner), ElementsAre(1, 0, 0));
    model.zoomBy(1.005, centre);
    EXPECT_NEAR(doubleClicked(centre).front(), 2.01, 1e-9);
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
    EXPECT_THAT(zoomed(1.25, centre), ElementsAre(1.25, 0, 0));
    EXPECT_THAT(dragged({60, 10}), ElementsAre(1.25, 60, 0));
    model.drag({-70, 10});
    EXPECT_EQ(model.offset(), QPointF(-70, 0)) << "counted from where the drag began";
    EXPECT_TRUE(std::isnan(model.wheelMagnification({-10, 4}, {0, 0.1}, false)));
    model.pan({-10, 4});
    EXPECT_THAT(state(), ElementsAre(1.25, -80, 0));
    model.magnify(model.wheelMagnification({0, 0}, {0, -50}, false), centre);
    EXPECT_EQ(model.zoom(), 1);
    model.magnify(1, centre);
    EXPECT_EQ(model.zoom(), 2);
}

TEST_F(ComparisonModelTest, ZoomsByButtonsAndSettlesInAnotherViewport) {
    model.requestZoomIn();
    model.performZoomRequest();
    EXPECT_THAT(state(), ElementsAre(1.25, 0, 0));
    EXPECT_EQ(model.percent(), 63);
    EXPECT_EQ(model.displayedSize(), QSizeF(1000, 375));
    model.setActualSize(true);
    model.zoomBy(0.5, centre);
    model.setViewport({1600, 600});
    EXPECT_THAT(state(), ElementsAre(1, 0, 0)) << "the new smallest zoom";
}

TEST_F(ComparisonModelTest, KeepsTheSplitInside) {
    const QSignalSpy changes(&model, &ComparisonModel::splitChanged);
    model.stepSplit(3);
    EXPECT_NEAR(model.split(), 0.56, 1e-9);
    model.stepSplit(-100);
    EXPECT_EQ(model.split(), 0);
    for (const double split : {1.5, std::nan(""), 2.0}) {
        model.setSplit(split);
        EXPECT_EQ(model.split(), 1);
    }
    EXPECT_EQ(changes.size(), 3);
    model.setItem(ComparisonItem());
    EXPECT_EQ(model.split(), 0.5);
}

TEST_F(ComparisonModelTest, DoesNothingWithoutAPictureOrAViewport) {
    model.setItem(ComparisonItem());
    model.zoomBy(2, corner);
    model.doubleClick(corner);
    EXPECT_THAT(dragged({5, 5}), ElementsAre(1, 0, 0));
    EXPECT_EQ(model.displayedSize(), QSizeF(0, 0));
}

class ComparisonTest : public ModelFixture {
protected:
    /// The item of the only row, or the text of the failure.
    QVariant compared() {
        const QSignalSpy items(&*model, &AppModel::comparisonReady);
        const QSignalSpy failures(&*model, &AppModel::comparisonFailed);
        model->compare(idOf(0));
        EXPECT_TRUE(runUntil([&] { return items.size() + failures.size() == 1; }));
        const QList<QVariant> answer = (items.empty() ? failures : items).value(0);
        EXPECT_EQ(answer.value(0), idOf(0));
        return answer.value(1);
    }
};

TEST_F(ComparisonTest, DescribesBothFiles) {
    const UndoRecord record = replaced("photo.png");
    start();
    const auto item = compared().value<ComparisonItem>();
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
    EXPECT_EQ(QSize(item.width, item.height), QSize(24, 32));
}

TEST_F(ComparisonTest, RefusesAnExpiredOrChangedPair) {
    const UndoRecord record = replaced("photo.png", 60);
    start();
    desktop.time = record.createdAt.adding(UndoStore::backupRetention);
    EXPECT_EQ(compared(), "原图备份已过期，无法对比。");
    EXPECT_TRUE(store.hasBackup(record));
    desktop.time = desktop.time.adding(-1);
    EXPECT_EQ(compared().value<ComparisonItem>().name, "photo.png");
    pictures.file("photo.png", large);
    EXPECT_EQ(compared(), "压缩后的图片已被修改");
    store.removeBackup(record);
    EXPECT_EQ(compared(), "原图备份已不存在");
}

} // namespace
} // namespace tarnwick::test
