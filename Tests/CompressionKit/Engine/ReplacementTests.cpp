#include "Engine/Replacement.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "Support/EngineFixture.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <set>

namespace tarnwick::test {
namespace {

using testing::IsEmpty;

class ReplacementTest : public EngineFixture {
protected:
    bool isReplaced() const { return contents(photo) != large; }
    static bool flushesWinner(const SystemCall& call) {
        return call.name == "fsync" && call.path.find("/.tarnwick-exchange-") != std::string::npos;
    }

    const std::string large = pictureText("photo.png");
    const URL photo = original("photo.png");
};

TEST_F(ReplacementTest, ReplacesAndRestoresWhereNamesCannotBeExchanged) {
    const Fault fault([&](const SystemCall& call) {
        return call.name == "renameat2" && call.destination == photo.path() ? EINVAL : 0;
    });
    EXPECT_EQ(failure(photo), "");
    EXPECT_TRUE(isReplaced());
    store.restore(store.readRecords().at(0));
    EXPECT_FALSE(isReplaced());
    EXPECT_EQ(pictures.listing(), "photo.png");
}

TEST_F(ReplacementTest, NeverPublishesAWinnerThatChangedAfterItsValidation) {
    {
        const Fault fault([&](const SystemCall& call) {
            return flushesWinner(call) ? copyPicture("noise.png", URL::file(call.path)), 0 : 0;
        });
        EXPECT_EQ(failure(photo), "压缩结果未通过验证");
    }
    EXPECT_FALSE(isReplaced());
    EXPECT_EQ(pictures.listing(), "photo.png");
    EXPECT_THAT(store.readRecords(), IsEmpty());
}

TEST_F(ReplacementTest, KeepsItsBackupWhileAnotherJobEndsTheSession) {
    std::set<std::string> attempted;
    CompressionResult result;
    {
        const Fault fault([&](const SystemCall& call) {
            const URL session = URL::file(call.path).deletingLastPathComponent();
            if (session.deletingLastPathComponent() == store.root() && attempted.insert(call.name).second) {
                std::error_code isInUse;
                std::filesystem::remove(session.path(), isInUse);
            }
            return 0;
        });
        result = compress(photo);
    }
    EXPECT_TRUE(isReplaced());
    EXPECT_TRUE(attempted.contains("open"))
        << "the session's folder was not removed before the backup's copy";
    ASSERT_TRUE(result.undoRecord);
    store.restore(*result.undoRecord);
    EXPECT_FALSE(isReplaced());
}

TEST_F(ReplacementTest, KeepsTheBackupWhenTheOriginalCannotBePutBack) {
    {
        int published = 0;
        const Fault fault([&](const SystemCall& call) {
            const bool publishes = call.name == "renameat2" && call.destination == photo.path();
            published += publishes ? 1 : 0;
            const bool isPuttingBack = publishes && published == 2;
            return isPuttingBack || (call.destination.ends_with(".json") && isReplaced()) ? EIO : 0;
        });
        EXPECT_NE(failure(photo), "");
    }
    EXPECT_TRUE(isReplaced());
    const auto records = store.readRecords();
    ASSERT_EQ(records.size(), 1U);
    store.restore(records.front());
    EXPECT_FALSE(isReplaced());
    EXPECT_EQ(pictures.listing(), "photo.png");
}

} // namespace
} // namespace tarnwick::test
