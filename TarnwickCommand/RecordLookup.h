#pragma once

#include "Foundation/Date.h"
#include "History/UndoStore.h"

#include <optional>
#include <string>

namespace tarnwick::RecordLookup {

/// The record with this identifier. Throws FileSystemError.
std::optional<UndoRecord> withID(const UndoStore& undo, const UUID& id);

/// The newest record whose original or converted file is `file`. Links in the folders of both paths are
/// resolved. Throws FileSystemError.
std::optional<UndoRecord> newestOf(const UndoStore& undo, const URL& file);

/// The end of the time in which the original can be restored; none when it cannot be restored any more.
std::optional<Date> restorableUntil(const UndoStore& undo, const UndoRecord& record);

constexpr auto unknownRecord = "没有这条压缩记录";
constexpr auto unknownFile = "没有找到这个文件的压缩记录";

} // namespace tarnwick::RecordLookup
