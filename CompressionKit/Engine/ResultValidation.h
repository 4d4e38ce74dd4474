#pragma once

#include "Engine/CompressionResult.h"
#include "Engine/GIFReference.h"
#include "Engine/Original.h"
#include "Engine/QualityThresholds.h"
#include "Foundation/URL.h"
#include "Process/ToolRunner.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// The finite score that the scorer printed. Throws CompressionError::toolFailed for any other text.
double parseScore(const std::string& output);

/// Checks encoder outputs against one original. Only this class turns an output into a Candidate.
/// Thread-safe; copies may also be used at the same time.
class ResultValidation {
public:
    struct Options {
        /// False for an output that must have the original's pixels.
        bool isLossy = false;
        bool allowsSRGBConversion = false;
        /// Whether an output that is not smaller may pass.
        bool acceptLarger = false;
        /// Replaces the threshold of the original's kind.
        std::optional<double> minimumScore = std::nullopt;
    };

    /// GIF frames are written to `workDirectory`. `original` must outlive all copies.
    ResultValidation(ToolRunner tools, const QualityThresholds& thresholds, const Original& original,
                     const URL& workDirectory);

    /// A copy that runs the scorer with `tools`.
    ResultValidation runningWith(ToolRunner tools) const;

    /// The output as a candidate with the label `encoder`. None when the output is empty, not smaller, of
    /// other pixels or of a score that is too low; that is no error. Throws CompressionError for an output of
    /// another structure, an undecodable output and an unusable score, and what the tools and file operations
    /// throw.
    std::optional<Candidate> validated(const URL& output, const std::string& encoder,
                                       const Options& options) const;

    /// The frames of the original GIF, in the folder "gif-reference".
    GIFReference& gifReference() const noexcept { return *gifReference_; }
    /// The lowest frame score of a candidate GIF, at most 100. None when a frame is below the GIF threshold
    /// or transparent where the original's frame is opaque, or when the frame counts differ. A frame that
    /// equals the original's scores 100 without a run of the scorer.
    std::optional<double> gifQualityScore(const URL& candidate) const;

private:
    struct Verdict {
        bool isAccepted = false;
        std::optional<double> score = std::nullopt;
    };
    Verdict judge(const URL& output, const ImageFacts& facts, const Options& options) const;
    Verdict judgeGIF(const URL& output, bool isLossy) const;
    Verdict judgePNG(const URL& output, const ImageFacts& facts, const Options& options) const;
    Verdict judgeByScore(const URL& output, double kindThreshold, const Options& options) const;
    std::optional<double> frameScore(const URL& reference, const URL& candidate) const;
    double score(const URL& reference, const URL& candidate) const;

    ToolRunner tools_;
    QualityThresholds thresholds_;
    const Original* original_;
    std::shared_ptr<GIFReference> gifReference_;
};

} // namespace tarnwick
