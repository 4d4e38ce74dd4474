#pragma once

#include "Engine/CompressionResult.h"
#include "Engine/QualityThresholds.h"
#include "Foundation/URL.h"
#include "Foundation/UUID.h"
#include "History/UndoStore.h"
#include "Process/Cancellation.h"
#include "Process/ToolRunner.h"

namespace tarnwick {

/// Turns one picture file into a smaller one of the same format in the same place, or leaves it untouched; a
/// HEIC file becomes a PNG beside it. A value without mutable state: compress() may run on any thread, but
/// only once at a time for one file.
class CompressionEngine {
public:
    /// `toolDirectory` holds the external encoders and the scorer. A requested `cancellation` ends a running
    /// compress() with Cancelled, before the user's file is touched.
    CompressionEngine(const URL& toolDirectory, UndoStore undo, double qualityThreshold,
                      double pngQualityThreshold, double gifQualityThreshold,
                      const Cancellation& cancellation = {});

    /// Compresses the file and blocks until it is done. `sessionID` names the user's batch in the history.
    /// The file is only ever touched by one rename, after its backup and record are on the disk; on every way
    /// out it is the original or the complete result, and the work directory beside it is gone. Throws
    /// CompressionError, FileSystemError, Cancelled.
    CompressionResult compress(const URL& url, const UUID& sessionID) const;

    const UndoStore& undo() const noexcept { return undo_; }

private:
    ToolRunner tools_;
    UndoStore undo_;
    QualityThresholds thresholds_;
};

} // namespace tarnwick
