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

/// Judges the outputs of the encoders against one original: the only way from an output to a Candidate.
/// Several threads may use it, and copies of it, at once.
class ResultValidation {
public:
    struct Options {
        /// False for an output that must have the original's pixels.
        bool isLossy = false;
        bool allowsSRGBConversion = false;
        /// Whether an output that is not smaller may pass.
        bool acceptLarger = false;
        /// Overrides the threshold of the original's kind.
        std::optional<double> minimumScore = std::nullopt;
    };

    /// `workDirectory` takes the frames of GIFs. `original` must outlive all copies.
    ResultValidation(ToolRunner tools, const QualityThresholds& thresholds, const Original& original,
                     const URL& workDirectory);

    /// The same with another runner of the scorer.
    ResultValidation runningWith(ToolRunner tools) const;

    /// The output as a candidate with the label `encoder`; none when it is refused, which is no failure:
    /// empty, not smaller, not the same pixels, or not good enough. Throws CompressionError for an output of
    /// another structure, an undecodable one, a scorer without a usable score; and what the tools and the
    /// files throw.
    std::optional<Candidate> validated(const URL& output, const std::string& encoder,
                                       const Options& options) const;

    /// The original GIF's frames as PNG files in "gif-reference", made at the first call and found again
    /// later.
    std::vector<URL> gifReferenceFrames() const;
    /// The worst frame's score of a candidate GIF, at most 100; none as soon as a frame is below the GIF
    /// threshold, or has holes where the original's frame has none, or when the frame counts differ. Frames
    /// that equal the original's score 100 without the scorer.
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
