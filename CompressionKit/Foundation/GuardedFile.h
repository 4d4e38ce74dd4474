#pragma once

#include "Foundation/Directory.h"
#include "Foundation/URL.h"

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

namespace tarnwick {

/// Exchanges what two names stand for in one step. Returns false, and changes nothing, where the file system
/// cannot do that, or when one of the names is missing. Throws CompressionError::fileOperation.
bool atomicExchange(const URL& a, const URL& b);

/// Writes a user's text file, durably. Returns false, and changes nothing, when its text is not `expected`,
/// which is none for a missing file. Throws CompressionError or FileSystemError.
bool replaceText(const URL& url, const std::optional<std::string>& expected, const std::string& text,
                 mode_t mode);

/// Removes a user's text file. Returns false, and changes nothing, when its text is not `expected`. Throws
/// CompressionError or FileSystemError.
bool removeText(const URL& url, const std::string& expected);

/// A user's file that other programs may write or replace at any moment. It is replaced or removed only while
/// it is the expected one. The displaced file is looked at under a second name, and goes back to its place
/// unless it is the expected one: what another program wrote a moment before is not lost.
///
/// Where the file system cannot exchange two names, a moment remains between the look and the replacement.
class GuardedFile {
public:
    /// Whether this is the expected file; the location leads to it under either name. An exception counts as
    /// a no.
    using Expectation = std::function<bool(const URL&)>;

    /// `slot` is the second name, which must be free and in the same folder. A caller whose process may be
    /// killed derives it from something stored, so that the sweep can find the displaced file.
    /// Throws FileSystemError when the folder is missing.
    GuardedFile(const URL& file, const URL& slot, Expectation isExpected);

    /// Moves `source`, which is on the same volume, to the file's name, durably. Returns false, and removes
    /// `source`, when the file is not the expected one: it stays, or the newest one if it is written again
    /// meanwhile. Throws CompressionError, which is validationFailed when `source` has not this hash, or
    /// FileSystemError.
    bool replace(const URL& source, const std::string& sourceHash) const;
    /// Removes the file. Returns false when it is not the expected one: it stays. Throws as replace().
    bool remove() const;

private:
    bool isExpectedAt(const URL& url) const noexcept;
    void moveToSlot(const URL& source) const;
    void putBack(const std::string& sourceHash) const;

    PinnedFolder folder_;
    URL file_;
    URL slot_;
    Expectation isExpected_;
};

} // namespace tarnwick
