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

/// The result of one file, or its error.
struct FileOutcome {
    std::optional<CompressionResult> result = std::nullopt;
    std::string error = {};
    /// The file was left alone since it is the result of an earlier compression.
    bool isOwnResult = false;
};

/// The counts of a batch so far.
struct BatchProgress {
    std::size_t total = 0;
    std::size_t done = 0;
    std::size_t replaced = 0;
    std::size_t converted = 0;
    std::size_t skipped = 0;
    std::size_t failed = 0;
    /// Of replaced files only: the original of a converted file stays.
    std::int64_t savedBytes = 0;

    void count(const FileOutcome& outcome);
};

/// Reports a batch on standard output. Several files may be compressed at a time. All functions throw
/// OutputFailed.
class CompressReporter {
public:
    virtual ~CompressReporter() = default;
    CompressReporter() = default;
    CompressReporter(const CompressReporter&) = delete;
    CompressReporter& operator=(const CompressReporter&) = delete;

    /// The compression of the file starts.
    virtual void begin(const CollectedFile& file, const BatchProgress& progress) = 0;
    /// The file is finished, and `progress` counts it. begin() was called before unless the file was
    /// rejected.
    virtual void end(const CollectedFile& file, const FileOutcome& outcome,
                     const BatchProgress& progress) = 0;
    /// The batch is finished or was stopped.
    virtual void finish(const BatchProgress& progress) = 0;
};

/// With `json`, prints one JSON object for each file; else rows, on a terminal above a progress bar. `files`
/// is the whole batch.
std::unique_ptr<CompressReporter> makeCompressReporter(const Output& output, bool json,
                                                       const std::vector<CollectedFile>& files);

/// The text and the badge of a finished row.
std::string outcomeText(const FileOutcome& outcome);
/// A summary line with its line end; empty for a single file.
std::string batchSummary(const BatchProgress& progress);

} // namespace tarnwick
