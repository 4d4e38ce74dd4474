#pragma once

#include "Foundation/FileOperations.h"
#include "Foundation/UUID.h"
#include "History/UndoStore.h"
#include "Support/Failure.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace tarnwick::test {

/// A store in a temporary folder, with replacements as a compression makes them.
class HistoryFixture : public testing::Test {
protected:
    /// A small picture whose bytes depend on `shade`: bytes behind the end do no harm.
    URL picture(std::string_view name, std::uint8_t shade) const {
        return folder.file(name, pictureText("photo-small.png") + static_cast<char>(shade));
    }

    /// Replaces `original` by another picture under a committed record.
    UndoRecord replaced(const URL& original, const UUID& session = UUID::random()) const {
        const URL winner = picture("winner.png", 200);
        const UndoRecord record = store.prepare(original, winner, session);
        atomicRename(winner, original);
        return store.commit(record);
    }

    /// Rewrites the record with a time `seconds` ago.
    UndoRecord aged(UndoRecord record, double seconds) const {
        record.createdAt = Date::now().adding(-seconds);
        return store.commit(record);
    }

    TemporaryFolder folder;
    UndoStore store{folder / "store"};
};

} // namespace tarnwick::test
