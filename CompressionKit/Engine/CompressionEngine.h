#pragma once

#include "Engine/CompressionResult.h"
#include "Engine/QualityThresholds.h"
#include "Foundation/URL.h"
#include "Foundation/UUID.h"
#include "History/UndoStore.h"
#include "Process/Cancellation.h"
#include "Process/ToolRunner.h"

namespace tarnwick {

/// Replaces one picture file by a smaller one of the same format, or leaves it untouched; a HEIC file gets a
/// PNG beside it. A value without mutable state: compress() may run on any thread, but only once at a time
/// for one file.
class CompressionEngine {
public:
    /// `toolDirectory` holds the external encoders and the scorer.
    CompressionEngine(const URL& toolDirectory, UndoStore undo, double qualityThreshold,
                      double pngQualityThreshold, double gifQualityThreshold);

    /// The same with another cancellation, at first never(): when it is requested, a running compress()
    /// throws Cancelled, and the user's file is untouched.
    CompressionEngine cancelledBy(const Cancellation& cancellation) const;

    /// Compresses the file and blocks until it is done. `sessionID` identifies the user's batch in the
    /// history. The file is touched by one rename only, after its backup and record are on the disk. On
    /// return or throw it is the original or the complete result, and the work directory beside it is
    /// removed. Throws CompressionError, FileSystemError, Cancelled.
    CompressionResult compress(const URL& url, const UUID& sessionID) const;

    const UndoStore& undo() const noexcept { return undo_; }

private:
    ToolRunner tools_;
    UndoStore undo_;
    QualityThresholds thresholds_;
};

} // namespace tarnwick
