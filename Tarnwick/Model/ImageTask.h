#pragma once

#include "Engine/CompressionResult.h"
#include "Foundation/URL.h"
#include "Foundation/UUID.h"
#include "Tarnwick/Model/TaskStatus.h"

#include <optional>
#include <string>

namespace tarnwick {

/// One row: a file that the user imported, or an entry of the history. Texts are UTF-8.
struct ImageTask {
    UUID id = UUID::random();
    /// The file as it is now: a conversion leads to the new file, restoring back to the original.
    URL url;
    /// What the thumbnail shows.
    URL thumbnailURL;
    TaskStatus status = TaskStatus::Waiting;
    std::optional<CompressionResult> result = std::nullopt;
    /// Whether the original can still be had back.
    bool backupAvailable = false;

    /// The row of a file that is yet to be compressed.
    static ImageTask imported(const URL& url);
    /// The row of an earlier compression.
    static ImageTask fromHistory(const UndoRecord& record, bool backupAvailable);

    /// None when nothing was replaced or converted.
    const UndoRecord* record() const noexcept;
    /// The file's name as one line of text.
    std::string displayName() const;
    /// The line under the name.
    std::string statusText() const;
    /// Empty when the row shows none.
    std::string badgeText() const;

    /// Why the action is refused now, for the user; empty when it is not.
    std::string refusalToRestore() const;
    std::string refusalToCompare() const;
    std::string refusalToDelete() const;
};

} // namespace tarnwick
