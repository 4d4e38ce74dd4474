#include "Foundation/FileContents.h"
#include "Support/JPEGMaker.h"
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

constexpr Extent viewport = {.width = 800, .height = 600};
constexpr Extent centre = {.width = 400, .height = 300};
constexpr Extent corner = {.width = 0, .height = 0};

/// 1600 × 600: fits by its width at a scale of 0.5.
ComparisonGeometry wide() {
    return {{.width = 1600, .height = 600}, viewport};
}

TEST(ComparisonGeometryTest, FitsWithoutEnlarging) {
    EXPECT_EQ(wide().fitScale(), 0.5);
    EXPECT_EQ(ComparisonGeometry({.width = 10, .height = 1200}, viewport).fitScale(), 0.5);
    EXPECT_EQ(ComparisonGeometry({.width = 10, .height = 10}, viewport).fitScale(), 1);
}

TEST(ComparisonGeometryTest, ZoomStaysWithinItsLimits) {
    ComparisonGeometry geometry = wide();
    geometry.zoomBy(0.8, corner);
    EXPECT_EQ(geometry.zoom, 1);
    EXPECT_EQ(geometry.offset, Extent());
    for (int press = 0; press < 5; ++press) {
        geometry.zoomBy(1.25, centre);
    }
    EXPECT_NEAR(geometry.zoom, 3.0518, 1e-4);
    for (int press = 0; press < 20; ++press) {
        geometry.zoomBy(1.25, centre);
    }
    EXPECT_EQ(geometry.zoom, 16);

    const ComparisonGeometry before = geometry;
    for (const double factor : {0.0, -2.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        geometry.zoomBy(factor, corner);
        EXPECT_EQ(geometry.zoom, before.zoom);
        EXPECT_EQ(geometry.offset, before.offset);
    }

    geometry = wide();
    geometry.actualSize = true;
    geometry.zoomBy(0.01, centre);
    EXPECT_EQ(geometry.zoom, 0.5);
    geometry.zoomBy(1000, centre);
    EXPECT_EQ(geometry.zoom, 16);
}

TEST(ComparisonGeometryTest, TheAnchorKeepsItsPlaceUpToTheEdges) {
    ComparisonGeometry geometry = wide();
    geometry.zoomBy(4, {.width = 600, .height = 350});
    // 200 right of and 50 below the centre, times 1 - 4.
    EXPECT_EQ(geometry.offset, (Extent{.width = -600, .height = -150}));
    geometry.zoomBy(0.5, {.width = 600, .height = 350});
    EXPECT_EQ(geometry.offset, (Extent{.width = -200, .height = 0}))
        << "no higher than the viewport: centred";
    geometry.moveTo({.width = 5000, .height = 5000});
    EXPECT_EQ(geometry.offset, (Extent{.width = 400, .height = 0}));
    geometry.moveTo({.width = -5000, .height = 0});
    EXPECT_EQ(geometry.offset.width, -400);
}

TEST(ComparisonGeometryTest, ADoubleClickGoesInAndOut) {
    ComparisonGeometry geometry = wide();
    geometry.doubleClick({.width = 500, .height = 300});
    EXPECT_EQ(geometry.zoom, 2);
    EXPECT_EQ(geometry.offset, (Extent{.width = -100, .height = 0}));
    geometry.doubleClick(corner);
    EXPECT_EQ(geometry.zoom, 1);
    EXPECT_EQ(geometry.offset, Extent());
    geometry.zoom = 1.005;
    geometry.doubleClick(centre);
    EXPECT_NEAR(geometry.zoom, 2.01, 1e-9);
}

TEST(ComparisonGeometryTest, ReadsScrollEvents) {
    const auto factor = [](const ScrollEvent& event) { return magnification(event).value_or(NAN) + 1; };
    EXPECT_NEAR(factor({.coarseDelta = 1}), std::exp(0.12), 1e-12);
    EXPECT_NEAR(factor({.coarseDelta = -1, .hasControl = true}), std::exp(-0.12), 1e-12);
    EXPECT_NEAR(factor({.coarseDelta = 50}), std::exp(0.5), 1e-12);
    EXPECT_NEAR(factor({.coarseDelta = -50}), std::exp(-0.5), 1e-12);
    EXPECT_NEAR(factor({.preciseDelta = 10, .isPrecise = true, .hasControl = true}), std::exp(0.08), 1e-12);
    EXPECT_NEAR(factor({.preciseDelta = 0.00005, .coarseDelta = 2}), std::exp(0.24), 1e-12);
    EXPECT_FALSE(magnification({.preciseDelta = 10, .isPrecise = true}));
}

class ComparisonModelTest : public testing::Test {
protected:
    ComparisonModelTest() {
        ComparisonItem item;
        item.width = 1600;
        item.height = 600;
        model.setItem(item);
        model.setViewport({800, 600});
    }

    ComparisonModel model;
};

TEST_F(ComparisonModelTest, TakesWhatTheViewDoes) {
    model.requestZoomIn();
    EXPECT_EQ(model.zoomRequest(), 1.25);
    model.performZoomRequest();
    EXPECT_EQ(model.zoomRequest(), 0);
    EXPECT_EQ(model.zoom(), 1.25);
    EXPECT_EQ(model.percent(), 63);
    EXPECT_EQ(model.displayedSize(), QSizeF(1000, 375));

    model.beginDrag();
    model.drag({60, 10});
    model.drag({-70, 10});
    EXPECT_EQ(model.offset(), QPointF(-70, 0));
    model.scroll({-10, 4}, {0, 0.1}, false, {0, 0});
    EXPECT_EQ(model.offset(), QPointF(-80, 0));
    EXPECT_EQ(model.zoom(), 1.25);
    model.scroll({0, 0}, {0, -50}, false, {400, 300});
    EXPECT_EQ(model.zoom(), 1);
    model.pinch(1, {400, 300});
    EXPECT_EQ(model.zoom(), 2);

    model.setActualSize(true);
    EXPECT_EQ(model.displayedSize(), QSizeF(1600, 600));
    model.zoomBy(0.5, {400, 300});
    model.setViewport({1600, 600});
    EXPECT_EQ(model.zoom(), 1) << "raised to the new smallest zoom";
    model.setActualSize(false);
    EXPECT_EQ(model.percent(), 100);
}

TEST_F(ComparisonModelTest, TheSplitStaysInside) {
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

TEST_F(ComparisonModelTest, DoesNothingWithoutPictureOrPlace) {
    model.setItem(ComparisonItem());
    model.zoomBy(2, {0, 0});
    model.doubleClick({0, 0});
    model.drag({5, 5});
    EXPECT_EQ(model.zoom(), 1);
    EXPECT_EQ(model.displayedSize(), QSizeF(0, 0));
}

class ComparisonTest : public ModelFixture {
protected:
    AppModel::ComparisonOutcome outcome(const UndoRecord& record) {
        std::optional<AppModel::ComparisonOutcome> found;
        model->comparisonItem(record, [&](const AppModel::ComparisonOutcome& answer) { found = answer; });
        EXPECT_TRUE(waitUntil([&] { return found.has_value(); }));
        return *found;
    }
    std::string failureOf(const UndoRecord& record) {
        return std::get<QString>(outcome(record)).toStdString();
    }
};

TEST_F(ComparisonTest, DescribesBothFiles) {
    const UndoRecord record = replaced("photo.png");
    start();
    QSignalSpy answers(&*model, &AppModel::comparisonReady);
    model->compare(idOf(0));
    ASSERT_TRUE(waitUntil([&] { return !answers.empty(); }));
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

TEST_F(ComparisonTest, APictureOnItsSideIsShownUpright) {
    const URL photo = picture("photo.jpg", jpegBytes({.quality = 95, .orientation = 6}));
    const URL winner = prepared("winner.jpg", jpegBytes({.quality = 50, .orientation = 6}));
    const UndoRecord record = store.commit(store.prepare(photo, winner, UUID::random()));
    std::filesystem::copy_file(winner.path(), photo.path(),
                               std::filesystem::copy_options::overwrite_existing);
    const ComparisonItem item = prepareComparison(store, record, Date::now());
    EXPECT_EQ(item.width, 24);
    EXPECT_EQ(item.height, 32);
}

TEST_F(ComparisonTest, RefusesWhatIsNotThePairOfTheRecord) {
    const UndoRecord record = replaced("photo.png", 60);
    start();
    desktop.time = record.createdAt.adding(UndoStore::backupRetention);
    EXPECT_EQ(failureOf(record), "原图备份已过期，无法对比。");
    EXPECT_TRUE(store.hasBackup(record));
    desktop.time = desktop.time.adding(-1);
    EXPECT_TRUE(std::holds_alternative<ComparisonItem>(outcome(record)));
    writeFile(record.originalURL(), large);
    EXPECT_EQ(failureOf(record), "压缩后的图片已被修改");
    store.removeBackup(record);
    QSignalSpy failures(&*model, &AppModel::comparisonFailed);
    model->compare(idOf(0));
    ASSERT_TRUE(waitUntil([&] { return !failures.empty(); }));
    EXPECT_EQ(failures.at(0).at(1), "原图备份已不存在");
}

} // namespace
} // namespace tarnwick::test
