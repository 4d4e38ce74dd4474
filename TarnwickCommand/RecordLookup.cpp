#include "TarnwickCommand/RecordLookup.h"

#include "TarnwickCommand/GivenPath.h"

#include <utility>

namespace tarnwick::RecordLookup {
namespace {

template <typename Matches>
std::optional<UndoRecord> first(const UndoStore& undo, Matches matches) {
    for (UndoRecord& record : undo.records()) {
        if (matches(record) && !UndoStore::isInWork(record)) {
            return std::move(record);
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<UndoRecord> withID(const UndoStore& undo, const UUID& id) {
    return first(undo, [&](const UndoRecord& record) { return record.id == id; });
}

std::optional<UndoRecord> newestOf(const UndoStore& undo, const URL& file) {
    const URL resolved = GivenPath::resolvingFolder(file);
    const auto isThatFile = [&](const std::string& path) {
        const URL url = URL::file(path);
        return url == file || url == resolved || GivenPath::resolvingFolder(url) == resolved;
    };
    return first(undo, [&](const UndoRecord& record) {
        return isThatFile(record.originalPath) || (record.convertedPath && isThatFile(*record.convertedPath));
    });
}

std::optional<Date> restorableUntil(const UndoStore& undo, const UndoRecord& record) {
    const Date end = record.createdAt.adding(UndoStore::backupRetention);
    return Date::now() < end && undo.hasBackup(record) ? std::optional(end) : std::nullopt;
}

} // namespace tarnwick::RecordLookup
