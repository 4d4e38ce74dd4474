#include "Foundation/CompressionError.h"
#include "History/UndoRecord.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tarnwick {
namespace {

using nlohmann::json;

json minimalRecord() {
    return {{"id", "8C2F7F5E-0D5B-4A53-9D3E-0123456789AB"},
            {"sessionID", "11111111-2222-3333-4444-555555555555"},
            {"createdAt", 785'000'000.125},
            {"originalPath", "/tmp/photo.jpg"},
            {"backupName", "8C2F7F5E-0D5B-4A53-9D3E-0123456789AB.jpg"},
            {"originalBytes", 5'000'000'000},
            {"replacementBytes", 1},
            {"replacementHash", "abc"},
            {"state", "prepared"}};
}

UndoRecord decoded(const json& record) {
    const std::string text = record.dump();
    return UndoRecord::decode(Bytes(text.begin(), text.end()));
}

json encoded(const UndoRecord& record) {
    const Bytes bytes = record.encoded();
    return json::parse(bytes.begin(), bytes.end());
}

TEST(UndoRecordTest, KeepsTheAgreedFormInARoundTrip) {
    UndoRecord record = decoded(minimalRecord());
    EXPECT_EQ(record.originalPath, "/tmp/photo.jpg");
    EXPECT_EQ(record.originalBytes, 5'000'000'000);
    EXPECT_EQ(record.createdAt, Date(785'000'000.125));
    EXPECT_FALSE(record.originalHash || record.convertedPath);
    EXPECT_EQ(encoded(record), minimalRecord());

    record.createdAt = Date::now();
    record.originalPath = "/tmp/a\n\"\xFF%41";
    record.convertedPath = "/tmp/照片（塔维克1）.png";
    record.originalHash = "def";
    record.state = UndoRecord::State::committed;
    const json object = encoded(record);
    EXPECT_EQ(object["state"], "committed");
    EXPECT_EQ(object["convertedPath"], "/tmp/照片（塔维克1）.png");
    EXPECT_EQ(decoded(object), record);
}

TEST(UndoRecordTest, IsUnreadableWithoutAnyRequiredKey) {
    const json complete = minimalRecord();
    for (const auto& [key, value] : complete.items()) {
        json record = complete;
        record[key] = value.is_string() ? json(1) : json("x");
        EXPECT_THROW(decoded(record), CompressionError) << "mistyped " << key;
        record.erase(key);
        EXPECT_THROW(decoded(record), CompressionError) << "without " << key;
    }
    EXPECT_THROW(decoded(json::array()), CompressionError);
    EXPECT_THROW(UndoRecord::decode({}), CompressionError);
}

TEST(UndoRecordTest, RefusesNamesThatLeadOutOfTheStore) {
    for (const char* name : {"", ".", "..", "../x", "/etc/passwd", "a/b"}) {
        json record = minimalRecord();
        record["backupName"] = name;
        EXPECT_THROW(decoded(record), CompressionError) << name;
    }
}

TEST(UndoRecordTest, RefusesOtherValues) {
    const std::pair<const char*, json> values[] = {
        {"originalPath", "photo.jpg"}, {"originalBytes", 1.5}, {"state", "restored"}, {"id", "8C2F7F5E"}};
    for (const auto& [key, value] : values) {
        json record = minimalRecord();
        record[key] = value;
        EXPECT_THROW(decoded(record), CompressionError) << key;
    }
}

} // namespace
} // namespace tarnwick
