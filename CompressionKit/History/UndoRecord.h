#pragma once

#include "Foundation/Date.h"
#include "Foundation/FileContents.h"
#include "Foundation/URL.h"
#include "Foundation/UUID.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace tarnwick {

/// One entry of the history: a replaced or converted file and the backup of its original.
struct UndoRecord {
    /// Prepared before the user's file is touched, committed after the replacement.
    enum class State { prepared, committed };

    UUID id;
    /// The batch of files that this one belongs to; the name of the backup's folder.
    UUID sessionID;
    /// When it was prepared.
    Date createdAt;
    /// Absolute path of the user's file.
    std::string originalPath;
    /// The backup's file name, without any folder.
    std::string backupName;
    /// Bytes of the original, and so of its backup.
    std::int64_t originalBytes = 0;
    std::int64_t replacementBytes = 0;
    /// SHA-256 of the file that replaced the original, or of the converted file.
    std::string replacementHash;
    std::optional<std::string> originalHash;
    State state = State::prepared;
    /// Absolute path of the new file of a conversion, which keeps the original.
    std::optional<std::string> convertedPath;

    URL originalURL() const { return URL::file(originalPath); }
    /// The result of the compression: the file in the original's place, or the converted file.
    URL replacementURL() const { return URL::file(convertedPath.value_or(originalPath)); }

    /// The name beside the replacement under which GuardedFile looks at what it displaced.
    URL exchangeURL() const;

    /// As a compact JSON object; paths as portablePathText() writes them.
    Bytes encoded() const;
    /// Throws CompressionError::fileOperation when a key is missing or mistyped, or when the backup's name
    /// would lead out of its folder.
    static UndoRecord decode(std::span<const std::uint8_t> json);

    friend bool operator==(const UndoRecord&, const UndoRecord&) = default;
};

} // namespace tarnwick
