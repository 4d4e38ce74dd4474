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

using testing::HasSubstr;
using testing::IsEmpty;

class ReplacementTest : public EngineFixture {
protected:
    bool isReplaced() const { return contents(photo) != large; }
    static bool flushesWinner(const SystemCall& call) {
        return call.name == "fsync" && call.path.find("/.tarnwick-") != std::string::npos &&
               call.path.ends_with(".png");
    }

    const std::string large = pictureText("photo.png");
    const URL photo = original("photo.png");
};

TEST_F(ReplacementTest, KeepsTheOriginalWhicheverCallFailsOnce) {
    int failing = 1;
    for (bool wasReached = true; wasReached && failing < 1000; ++failing) {
        int number = 0;
        std::string name;
        std::string message;
        {
            const Fault fault([&](const SystemCall& call) {
                // Work items that were not removed are no failure.
                const bool isCleaning =
                    call.name == "remove_all" || call.name == "rmdir" || call.name == "unlink";
                if (isCleaning || ++number != failing) {
                    return 0;
                }
                name = call.name + " " + call.path;
                return call.name == "copy_file_range" || call.name == "write" ? ENOSPC : EIO;
            });
            message = failure(photo);
        }
        wasReached = !name.empty();
        const auto records = store.readRecords();
        if (message.empty()) {
            // Some failures are harmless: one pngquant setting, or one way to copy.
            ASSERT_EQ(records.size(), 1U) << name;
            store.restore(records.front());
        }
        ASSERT_FALSE(isReplaced()) << name;
        ASSERT_EQ(pictures.listing(), "photo.png") << name;
        ASSERT_THAT(store.readRecords(), IsEmpty()) << name;
    }
    EXPECT_GT(failing, 40);
}

TEST_F(ReplacementTest, LeavesTheRightFileAfterAFault) {
    struct Row {
        std::function<int(const SystemCall&)> fault;
        std::string error;
        std::string file;
    };
    const std::vector<Row> rows = {
        {[](const SystemCall& call) {
             return call.name == "write" || call.name == "copy_file_range" ? ENOSPC : 0;
         },
         "No space left on device", large},
        // The record cannot be committed.
        {[&](const SystemCall& call) {
             return call.destination.ends_with(".json") && isReplaced() ? EROFS : 0;
         },
         "Read-only file system", large},
        // Another program changes the original while the winner is flushed.
        {[&](const SystemCall& call) {
             return flushesWinner(call) ? pictures.file("photo.png", large + "edited"), 0 : 0;
         },
         "原文件在压缩过程中被其他程序修改", large + "edited"},
        // The winner changes after its validation.
        {[&](const SystemCall& call) {
             return flushesWinner(call) ? copyPicture("noise.png", URL::file(call.path)), 0 : 0;
         },
         "压缩结果未通过验证", large},
        // Another program overwrites the result.
        {[&](const SystemCall& call) {
             const bool isPublished =
                 call.name == "fsync" && call.path == pictures.url().path() && isReplaced();
             return isPublished ? pictures.file("photo.png", "another program's"), 0 : 0;
         },
         "", "another program's"},
    };
    for (const Row& row : rows) {
        original("photo.png");
        std::string error;
        {
            const Fault fault(row.fault);
            error = failure(photo);
        }
        EXPECT_NE(error, "") << row.file;
        EXPECT_THAT(error, HasSubstr(row.error));
        EXPECT_EQ(contents(photo), row.file);
        EXPECT_EQ(pictures.listing(), "photo.png") << error;
        EXPECT_THAT(store.readRecords(), IsEmpty()) << error;
    }
}

TEST_F(ReplacementTest, KeepsItsBackupWhileOthersClearTheHistoryAndEndTheSession) {
    std::set<std::string> attempted;
    CompressionResult result;
    {
        const Fault fault([&](const SystemCall& call) {
            const auto records = store.readRecords();
            if (!records.empty() && records.front().state == UndoRecord::State::prepared) {
                EXPECT_THAT(store.removeAll(), IsEmpty()) << call.name << " " << call.path;
            }
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
            const bool publishes = call.name == "rename" && call.destination == photo.path();
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
