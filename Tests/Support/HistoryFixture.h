#pragma once

#include "Foundation/FileOperations.h"
#include "Foundation/UUID.h"
#include "History/UndoStore.h"
#include "Support/PNGMaker.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace tarnwick::test {

/// A store in a folder of its own, and replacements made in it as a compression makes them.
class HistoryFixture : public testing::Test {
protected:
    /// A small picture whose bytes depend on `shade`.
    URL picture(std::string_view name, std::uint8_t shade) const {
        URL url = folder / name;
        PNGOptions options;
        options.pattern = [shade](std::int64_t, std::int64_t) { return Pixel{shade, 0, 0, 255}; };
        writePNG(url, options);
        return url;
    }

    /// Replaces `original` by another picture under a committed record.
    UndoRecord replaced(const URL& original, const UUID& session = UUID::random()) const {
        const URL winner = picture("winner.png", 200);
        const UndoRecord record = store.prepare(original, winner, session);
        atomicRename(winner, original);
        return store.commit(record);
    }

    /// Rewrites the record as if it had been made `seconds` ago.
    UndoRecord aged(UndoRecord record, double seconds) const {
        record.createdAt = Date::now().adding(-seconds);
        return store.commit(record);
    }

    TemporaryFolder folder;
    UndoStore store{folder / "store"};
};

} // namespace tarnwick::test
