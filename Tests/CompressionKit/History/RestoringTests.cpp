#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Support/HistoryFixture.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace tarnwick::test {
namespace {

namespace fs = std::filesystem;

class RestoringTest : public HistoryFixture {
protected:
    std::string failureOfRestoring(const UndoRecord& record) const {
        return failureOf([&] { store.restore(record); });
    }

    /// A conversion keeps the original and makes a new file.
    UndoRecord converted() const {
        const URL candidate = picture("candidate.png", 200);
        const UndoRecord record = store.prepare(original, candidate, UUID::random(), target);
        atomicRename(candidate, target);
        return store.commit(record);
    }

    static constexpr auto unsafe = "文件已被修改，无法直接恢复";
    static constexpr auto damaged = "原图备份已损坏，无法恢复或对比";
    const URL original = picture("-photo \n\xFF.png", 1);
    const std::string bytes = contents(original);
    const URL target = folder / "converted.png";
};

TEST_F(RestoringTest, BringsTheOriginalBackWithItsAttributes) {
    ASSERT_EQ(::chmod(original.c_str(), 0640), 0);
    const UndoRecord record = replaced(original);
    ASSERT_NE(contents(original), bytes);
    store.restore(store.records().front());
    EXPECT_EQ(contents(original), bytes);
    EXPECT_EQ(modeOfFile(original, 0), 0640U);
    EXPECT_TRUE(store.records().empty());
    EXPECT_FALSE(store.hasBackup(record));
    EXPECT_EQ(folder.listing(), original.lastPathComponent() + " store");

    const UndoRecord removed = replaced(original);
    removeFile(original);
    store.restore(removed);
    EXPECT_EQ(contents(original), bytes) << "a deleted file comes back";
}

TEST_F(RestoringTest, ExpiresAfterFourHours) {
    UndoRecord record = aged(replaced(original), UndoStore::backupRetention);
    const std::string compressed = contents(original);
    EXPECT_EQ(failureOfRestoring(record), "原图备份已过期");
    EXPECT_FALSE(store.hasBackup(record));
    EXPECT_EQ(contents(original), compressed);
    EXPECT_EQ(store.records().size(), 1U) << "the record stays in the history";
    record = aged(record, 10);
    EXPECT_EQ(failureOfRestoring(record), "原图备份已不存在");
}

TEST_F(RestoringTest, TrustsOnlyABackupThatIsTheOriginal) {
    const UndoRecord record = replaced(original);
    const URL backup = store.backupURL(record);
    const std::string compressed = contents(original);
    UndoRecord withoutHash = record;
    withoutHash.originalHash = std::nullopt;

    std::string flipped = bytes;
    flipped[bytes.size() / 2] ^= 1;
    for (const std::string& text : {bytes.substr(0, bytes.size() - 1), flipped}) {
        writeFile(backup, bytesOf(text));
        EXPECT_EQ(failureOfRestoring(record), damaged);
    }
    EXPECT_EQ(failureOfRestoring(withoutHash), damaged) << "it does not decode";

    writeFile(backup, bytesOf(bytes));
    fs::rename(backup.path(), (folder / "elsewhere.png").path());
    fs::create_symlink((folder / "elsewhere.png").path(), backup.path());
    EXPECT_EQ(failureOfRestoring(record), damaged);
    EXPECT_EQ(contents(original), compressed);
}

} // namespace
} // namespace tarnwick::test
