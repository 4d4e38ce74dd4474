#pragma once

#include "Engine/CompressionResult.h"
#include "TarnwickCommand/Collecting.h"
#include "TarnwickCommand/Output.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// How one file ended: with a result, or with an error.
struct FileEnding {
    std::optional<CompressionResult> result = std::nullopt;
    std::string error = {};
};

/// A batch so far.
struct BatchProgress {
    std::size_t total = 0;
    std::size_t done = 0;
    std::size_t replaced = 0;
    std::size_t converted = 0;
    std::size_t skipped = 0;
    std::size_t failed = 0;
    /// By replaced files: a converted one's original stays, so that it frees nothing.
    std::int64_t savedBytes = 0;

    void count(const FileEnding& ending);
};

/// Tells of a batch on standard output; several files may be at work at once. All functions throw
/// OutputFailed.
class CompressReporter {
public:
    virtual ~CompressReporter() = default;
    CompressReporter() = default;
    CompressReporter(const CompressReporter&) = delete;
    CompressReporter& operator=(const CompressReporter&) = delete;

    /// Work on the file begins.
    virtual void begin(const CollectedFile& file, const BatchProgress& progress) = 0;
    /// The file is done, and counted in `progress`; begin() was called for it unless it was never worked on.
    virtual void end(const CollectedFile& file, const FileEnding& ending, const BatchProgress& progress) = 0;
    /// The batch is over, perhaps before its end.
    virtual void finish(const BatchProgress& progress) = 0;
};

/// One JSON object a file with `json`; else rows, which on a terminal stand above a progress bar. `files` is
/// the batch.
std::unique_ptr<CompressReporter> makeCompressReporter(const Output& output, bool json,
                                                       const std::vector<CollectedFile>& files);

/// What a finished row says: its text and its badge.
std::string endingText(const FileEnding& ending);
/// The end of a batch in one line, with its line end; empty for a single file, whose row says it all.
std::string batchSummary(const BatchProgress& progress);

} // namespace tarnwick
