#pragma once

#include "Foundation/Date.h"
#include "History/UndoStore.h"

#include <optional>
#include <string>

namespace tarnwick::RecordLookup {

/// The record with this identifier. Throws FileSystemError.
std::optional<UndoRecord> withID(const UndoStore& undo, const UUID& id);

/// The newest record whose original or converted file stands at `file`, however links in the folders' paths
/// lead there. Throws FileSystemError.
std::optional<UndoRecord> newestOf(const UndoStore& undo, const URL& file);

/// When the original stops being restorable; none when it already has.
std::optional<Date> restorableUntil(const UndoStore& undo, const UndoRecord& record);

constexpr auto unknownRecord = "没有这条压缩记录";
constexpr auto unknownFile = "没有找到这个文件的压缩记录";

} // namespace tarnwick::RecordLookup
