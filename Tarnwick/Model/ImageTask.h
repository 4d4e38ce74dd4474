#pragma once

#include "Engine/CompressionResult.h"
#include "Foundation/URL.h"
#include "Foundation/UUID.h"
#include "Tarnwick/Model/TaskStatus.h"

#include <optional>
#include <string>

namespace tarnwick {

/// One row: a file that the user imported, or a record of the history. Texts are UTF-8.
struct ImageTask {
    UUID id = UUID::random();
    /// The current file: the new one after a conversion, the original after a restore.
    URL url;
    /// The file of the thumbnail.
    URL thumbnailURL;
    TaskStatus status = TaskStatus::Waiting;
    std::optional<CompressionResult> result = std::nullopt;
    /// Whether the original can still be restored.
    bool backupAvailable = false;

    /// The row of a file to compress.
    static ImageTask imported(const URL& url);
    /// The row of an earlier compression.
    static ImageTask fromHistory(const UndoRecord& record, bool backupAvailable);

    /// Null when nothing was replaced or converted.
    const UndoRecord* record() const noexcept;
    /// The file's name as one line of text.
    std::string displayName() const;
    /// The line under the name.
    std::string statusText() const;
    /// Empty without a badge.
    std::string badgeText() const;

    /// The text for the user why the action is refused; empty when it is allowed.
    std::string refusalToRestore() const;
    std::string refusalToCompare() const;
    std::string refusalToDelete() const;
};

} // namespace tarnwick
