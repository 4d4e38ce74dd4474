#pragma once

#include "Foundation/Date.h"
#include "History/RecordStore.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tarnwick {

/// When the next backup of a committed record is `retention` seconds old; none when there is no such backup.
std::optional<Date> nextExpiration(const RecordStore& store, double retention);

/// The size of the record's backup; 0 when it cannot be measured.
std::int64_t backupBytes(const RecordStore& store, const UndoRecord& record) noexcept;

/// The bytes of all backups of committed records that are younger than `maxAge` seconds.
std::int64_t backupBytes(const RecordStore& store, double maxAge, Date now);

/// How many bytes removeBackups() would have to give up if backups of `originals`, given by their sizes, were
/// added to `keptBytes` of backups. They are the newest, so it takes them from these originals.
std::int64_t bytesOverBudget(std::int64_t keptBytes, const std::vector<std::int64_t>& originals,
                             std::int64_t maxBytes);

/// Removes backups of committed records that are at least `maxAge` seconds old. Then, while the total exceeds
/// `maxBytes`, removes the newest: older backups keep their full time. Returns how many backups were removed.
/// Never throws for a file that cannot be removed.
std::size_t removeBackups(const RecordStore& store, double maxAge, std::int64_t maxBytes, Date now);

} // namespace tarnwick
