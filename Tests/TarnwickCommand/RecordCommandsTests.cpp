#include "Support/HistoryFixture.h"
#include "Support/RunCommand.h"
#include "TarnwickCommand/OwnResults.h"
#include "TarnwickCommand/RecordLookup.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>

namespace tarnwick::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using JSON = nlohmann::ordered_json;

class RecordCommandsTest : public HistoryFixture {
protected:
    CommandResult run(Words words) const {
        words.insert(words.end(), {"--store", store.root().path()});
        return runCommand(words);
    }
};

TEST_F(RecordCommandsTest, HistoryListsAllRecordsNewestFirst) {
    EXPECT_EQ(run({"history"}).output, "没有压缩记录。\n");
    const UndoRecord old = aged(replaced(picture("old.png", 1)), UndoStore::backupRetention + 60);
    UndoRecord young = replaced(picture("young.png", 2));
    young.convertedPath = (folder / "x\xFF.png").path();
    young.createdAt = Date(1e9);
    store.commit(young);

    const auto lines = run({"history", "--json"}).json();
    ASSERT_EQ(lines.size(), 2U);
    const JSON expected = {{"id", young.id.text()},
                           {"sessionID", young.sessionID.text()},
                           {"createdAt", "2032-09-09T01:46:40Z"},
                           {"originalPath", (folder / "young.png").path()},
                           {"backupName", young.backupName},
                           {"originalBytes", young.originalBytes},
                           {"replacementBytes", young.replacementBytes},
                           {"replacementHash", young.replacementHash},
                           {"originalHash", *young.originalHash},
                           {"state", "committed"},
                           {"convertedPath", (folder / "x\xFF.png").absoluteString()},
                           {"backupAvailable", true},
                           {"backupAvailableUntil", "2032-09-09T05:46:40Z"}};
    EXPECT_EQ(lines[0], expected);
    EXPECT_EQ(lines[1]["id"], old.id.text());
    EXPECT_EQ(lines[1]["backupAvailable"], false) << "expired, although the file still exists";
    EXPECT_FALSE(lines[1].contains("convertedPath"));
    EXPECT_THAT(run({"history"}).output,
                ContainsRegex("young\\.png.*可恢复至.*" + young.id.text() + "\n.*old\\.png.*已清理"));
}

TEST_F(RecordCommandsTest, RestoreFindsRecordsByIdentifierAndByFile) {
    createDirectories(folder / "real");
    ASSERT_EQ(::symlink("real", (folder / "link").c_str()), 0);
    const URL a = picture("real/a.png", 1);
    const URL b = picture("real/b.png", 2);
    const std::string originals = contents(a) + contents(b);
    const std::string id = replaced(a).id.text();
    replaced(b);

    const auto result = run(
        {"restore", "--json", id, (folder / "none.png").path(), (folder / "link/../link/b.png").path(), id});
    const auto lines = result.json();
    EXPECT_EQ(result.status, 1);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], (JSON{{"path", a.path()}, {"outcome", "restored"}, {"record", id}}));
    EXPECT_EQ(lines[1], (JSON{{"path", (folder / "none.png").path()},
                              {"outcome", "failed"},
                              {"error", RecordLookup::unknownFile}}));
    EXPECT_EQ(lines[2]["outcome"], "restored");
    EXPECT_EQ(lines[3]["error"], RecordLookup::unknownRecord);
    EXPECT_EQ(contents(a) + contents(b), originals);
    EXPECT_TRUE(store.records().empty());
}

TEST_F(RecordCommandsTest, RestorePrefersAFileThatIsNamedLikeARecord) {
    const URL a = picture("a.png", 1);
    const UndoRecord record = replaced(a);
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.url().path());
    folder.file(record.id.text(), "x");
    EXPECT_THAT(run({"restore", record.id.text()}).errors, HasSubstr(RecordLookup::unknownFile));
    std::filesystem::current_path(before);
    EXPECT_EQ(run({"restore", record.id.text()}).output, a.path() + "  已恢复原图\n");
}

TEST_F(RecordCommandsTest, LookupFindsTheNewestRecordAndConvertedFiles) {
    aged(replaced(picture("a.png", 1)), 60);
    UndoRecord record = replaced(picture("a.png", 2));
    record.convertedPath = (folder / "made.png").path();
    store.commit(record);
    EXPECT_EQ(RecordLookup::newestOf(store, folder / "made.png"), record);
    EXPECT_EQ(RecordLookup::newestOf(store, folder / "./a.png"), record);
    EXPECT_EQ(RecordLookup::newestOf(store, folder / "b.png"), std::nullopt);
}

TEST_F(RecordCommandsTest, OwnResultsIncludeThoseThatAreMadeLater) {
    OwnResults results(store);
    replaced(picture("a.png", 1));
    EXPECT_TRUE(results.contains(folder / "a.png"));
    store.prepare(picture("other.png", 2), picture("prepared.png", 3), UUID::random());
    EXPECT_FALSE(results.contains(folder / "prepared.png")) << "it never replaced anything";
}

TEST_F(RecordCommandsTest, DeleteAndClearRemoveRecordsWithTheirBackups) {
    const UndoRecord gone = replaced(picture("a.png", 1));
    const UndoRecord kept = replaced(picture("b.png", 2));
    const auto result = run({"delete", "no-record", gone.id.text(), gone.id.text()});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors,
              "tarnwick：no-record：没有这条压缩记录\ntarnwick：" + gone.id.text() + "：没有这条压缩记录\n");
    EXPECT_FALSE(store.hasBackup(gone));

    const auto unconfirmed = run({"clear"});
    EXPECT_EQ(unconfirmed.status, 2);
    EXPECT_THAT(unconfirmed.errors, HasSubstr("--yes"));
    EXPECT_EQ(store.records(), std::vector{kept});
    EXPECT_EQ(run({"clear", "--yes"}).output, "已清除 1 条记录。\n");
    EXPECT_FALSE(store.hasBackup(kept));
    EXPECT_TRUE(store.records().empty());
}

TEST_F(RecordCommandsTest, ClearAsksOnATerminalAndOnlyYesConfirms) {
    if (!hasPseudoTerminals()) {
        GTEST_SKIP() << "There is no pseudo-terminal: is /dev/pts mounted?";
    }
    const UndoRecord record = replaced(picture("a.png", 1));
    const auto clear = [&](std::string_view answer) {
        return runOnTerminal({"clear", "--store", store.root().path()}, "继续：", answer);
    };
    for (const auto* answer : {"n\n", "\n", "\x04"}) {
        const auto declined = clear(answer);
        EXPECT_EQ(declined.status, 0);
        EXPECT_THAT(declined.output, HasSubstr("已压缩的图片将无法恢复原图。"));
        EXPECT_THAT(declined.output, HasSubstr("没有清除任何记录。"));
    }
    const auto stopped = clear("\x03");
    EXPECT_EQ(stopped.status, 130);
    EXPECT_THAT(stopped.output, HasSubstr("已停止。"));
    EXPECT_EQ(store.records(), std::vector{record});
    EXPECT_EQ(clear("是\n").status, 0);
    EXPECT_TRUE(store.records().empty());
}

TEST_F(RecordCommandsTest, MaintainRemovesOnlyExpiredBackups) {
    const UndoRecord old = aged(replaced(picture("a.png", 1)), UndoStore::backupRetention + 1);
    const UndoRecord young = replaced(picture("b.png", 2));
    EXPECT_EQ(run({"maintain"}).output, "已清理 1 个原图备份。\n");
    EXPECT_FALSE(store.hasBackup(old));
    EXPECT_TRUE(store.hasBackup(young));
    EXPECT_EQ(run({"maintain"}).output, "已清理 0 个原图备份。\n");
}

} // namespace
} // namespace tarnwick::test
