#pragma once

#include "Foundation/URL.h"
#include "History/UndoRecord.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwick {

/// The outcome for one file.
enum class CompressionOutcome {
    /// The original was overwritten by a smaller file of the same format.
    replaced,
    /// Nothing was written: no candidate was both valid and smaller.
    skipped,
    /// A file of another format was written beside the original.
    converted,
};

/// "replaced", "skipped" or "converted".
std::string_view rawValue(CompressionOutcome outcome);

struct CompressionResult {
    /// The resulting file.
    URL url;
    std::int64_t originalBytes = 0;
    /// Of the file at `url`.
    std::int64_t finalBytes = 0;
    CompressionOutcome outcome = CompressionOutcome::skipped;
    /// The label of the winning candidate.
    std::optional<std::string> encoder = std::nullopt;
    /// The winner's ssimulacra2 score; absent for a lossless one.
    std::optional<double> qualityScore = std::nullopt;
    /// Present when the original was backed up.
    std::optional<UndoRecord> undoRecord = std::nullopt;

    std::int64_t savedBytes() const noexcept { return originalBytes - finalBytes; }
    /// savedBytes ÷ originalBytes; 0 for an original without bytes.
    double savedRatio() const noexcept;
};

/// One encoder's output that passed validation.
struct Candidate {
    URL url;
    std::string encoder;
    std::optional<double> score = std::nullopt;
    std::int64_t bytes = 0;
    /// Whether validation accepted a change of the colour profile to sRGB.
    bool allowsSRGBConversion = false;
};

} // namespace tarnwick
