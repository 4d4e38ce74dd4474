#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "Support/HistoryFixture.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>

namespace tarnwick {
namespace {

namespace fs = std::filesystem;
using test::contents;

class UndoStoreRestoreTests : public test::HistoryFixture {
protected:
    /// What restoring says; empty when it succeeds.
    std::string failureOfRestoring(const UndoRecord& record) const {
        try {
            store.restore(record);
        } catch (const CompressionError& error) {
            return error.errorDescription();
        }
        return "";
    }

    /// A conversion: the original stays, a new file of its own appears.
    UndoRecord converted(const URL& original, const URL& target) const {
        const URL candidate = picture("candidate.png", 200);
        const UndoRecord record = store.prepare(original, candidate, UUID::random(), target);
        atomicRename(candidate, target);
        return store.commit(record);
    }

    static constexpr auto unsafe = "文件已被修改，无法直接恢复";
    static constexpr auto damaged = "原图备份已损坏，无法恢复或对比";
};

TEST_F(UndoStoreRestoreTests, bringsTheOriginalBackWithItsAttributes) {
    const URL original = picture("-photo \n\xFF.png", 1);
    ASSERT_EQ(::chmod(original.c_str(), 0640), 0);
    const std::string bytes = contents(original);
    const UndoRecord record = replaced(original);
    ASSERT_NE(contents(original), bytes);

    store.restore(store.records().front());

    EXPECT_EQ(contents(original), bytes);
    struct stat status {};
    ASSERT_EQ(::stat(original.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
    EXPECT_TRUE(store.records().empty());
    EXPECT_FALSE(store.hasBackup(record));
    EXPECT_EQ(folder.listing(), original.lastPathComponent() + " store");
}

TEST_F(UndoStoreRestoreTests, bringsADeletedFileBack) {
    const URL original = picture("photo.png", 1);
    const std::string bytes = contents(original);
    const UndoRecord record = replaced(original);
    removeFile(original);
    store.restore(record);
    EXPECT_EQ(contents(original), bytes);
}

TEST_F(UndoStoreRestoreTests, neverTouchesAFileThatSomebodyEdited) {
    const URL original = picture("photo.png", 1);
    const UndoRecord record = replaced(original);
    folder.file("photo.png", "edited");
    EXPECT_EQ(failureOfRestoring(record), unsafe);
    EXPECT_EQ(contents(original), "edited");

    removeFile(original);
    fs::create_symlink("nowhere", original.path());
    EXPECT_THROW(store.restore(record), FileSystemError);
    EXPECT_TRUE(fs::is_symlink(original.path()));
    EXPECT_EQ(store.records().size(), 1U);
    EXPECT_TRUE(store.hasBackup(record));
}

TEST_F(UndoStoreRestoreTests, expiresAfterFourHours) {
    const URL original = picture("photo.png", 1);
    UndoRecord record = aged(replaced(original), UndoStore::backupRetention);
    const std::string bytes = contents(original);
    EXPECT_EQ(failureOfRestoring(record), "原图备份已过期");
    EXPECT_FALSE(store.hasBackup(record));
    EXPECT_EQ(contents(original), bytes);
    EXPECT_EQ(store.records().size(), 1U) << "the record stays in the history";

    record = aged(record, 10);
    EXPECT_EQ(failureOfRestoring(record), "原图备份已不存在");
}

TEST_F(UndoStoreRestoreTests, trustsOnlyABackupThatIsTheOriginal) {
    const URL original = picture("photo.png", 1);
    const UndoRecord record = replaced(original);
    const URL backup = store.backupURL(record);
    const std::string bytes = contents(backup);
    const std::string compressed = contents(original);
    const auto rewrite = [&](const std::string& changed) {
        folder.file("store/" + record.sessionID.text() + "/" + record.backupName, changed);
    };

    rewrite(bytes.substr(0, bytes.size() - 1));
    EXPECT_EQ(failureOfRestoring(record), damaged);
    std::string flipped = bytes;
    flipped[bytes.size() / 2] ^= 1;
    rewrite(flipped);
    EXPECT_EQ(failureOfRestoring(record), damaged);

    // Without a recorded hash the picture itself must still be sound.
    UndoRecord withoutHash = record;
    withoutHash.originalHash = std::nullopt;
    EXPECT_EQ(failureOfRestoring(withoutHash), damaged);

    rewrite(bytes);
    fs::rename(backup.path(), (folder / "elsewhere.png").path());
    fs::create_symlink((folder / "elsewhere.png").path(), backup.path());
    EXPECT_EQ(failureOfRestoring(record), damaged);
    EXPECT_EQ(contents(original), compressed);
}

TEST_F(UndoStoreRestoreTests, takesAConversionBack) {
    const URL original = picture("photo.png", 1);
    const URL target = folder / "photo（塔维克1）.png";
    const std::string bytes = contents(original);
    store.restore(converted(original, target));
    EXPECT_EQ(contents(original), bytes);
    EXPECT_EQ(folder.listing(), "photo.png store");

    const UndoRecord record = converted(original, target);
    removeFile(original);
    store.restore(record);
    EXPECT_EQ(contents(original), bytes) << "an original deleted since comes back";
    EXPECT_EQ(folder.listing(), "photo.png store");
}

TEST_F(UndoStoreRestoreTests, keepsAConvertedFileThatSomebodyEdited) {
    const URL original = picture("photo.png", 1);
    const URL target = folder / "converted.png";
    const UndoRecord record = converted(original, target);
    folder.file("converted.png", "edited");
    EXPECT_EQ(failureOfRestoring(record), unsafe);
    EXPECT_EQ(contents(target), "edited");

    picture("converted.png", 200);
    folder.file("photo.png", "another picture");
    EXPECT_EQ(failureOfRestoring(record), unsafe);
    EXPECT_EQ(contents(original), "another picture");
    EXPECT_TRUE(isRegularFile(target));
}

} // namespace
} // namespace tarnwick
