#pragma once

#include "Foundation/Date.h"
#include "History/RecordStore.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace tarnwick {

/// When the next backup of a committed record is `retention` seconds old; none when there is no such backup.
std::optional<Date> nextExpiration(const RecordStore& store, double retention);

/// Removes backups of committed records that are at least `maxAge` seconds old. Then, while the total exceeds
/// `maxBytes`, removes the newest: older backups keep their full time. Returns how many backups were removed.
/// Never throws for a file that cannot be removed.
std::size_t removeBackups(const RecordStore& store, double maxAge, std::int64_t maxBytes, Date now);

} // namespace tarnwick
