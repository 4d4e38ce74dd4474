#include "Engine/ResultValidation.h"

#include "Engine/ToolArguments.h"
#include "Engine/ToolMemory.h"
#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Foundation/Text.h"
#include "ImageIO/ImageSource.h"
#include "Inspection/GIFFrameExport.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tarnwick {
namespace {

constexpr double bestFrameScore = 100;

/// One exporter wrote both files, so equal pixels give equal bytes.
bool isSameFrame(const URL& reference, const URL& candidate) {
    return fileSize(reference) == fileSize(candidate) && hash(reference) == hash(candidate);
}

/// The exported frames of one candidate. The frames of a long animation are large, so they are removed right
/// after scoring.
class CandidateFrames {
public:
    explicit CandidateFrames(const URL& candidate)
        : folder_(candidate.deletingLastPathComponent().appending(candidate.lastPathComponent() + "-frames")),
          files_(exportWorkFrames(candidate, folder_.url())) {}

    const std::vector<URL>& files() const { return files_; }

private:
    ScopedDirectory folder_;
    std::vector<URL> files_;
};

/// Whether the candidate's frame has transparency and the reference has none. The scorer ignores transparency
/// when the reference has none.
bool hasNewHoles(const URL& reference, const URL& candidate) {
    return ImageSource::open(candidate)->info().hasAlpha && !ImageSource::open(reference)->info().hasAlpha;
}

} // namespace

double parseScore(const std::string& output) {
    const std::string_view text = trimmed(output);
    double score = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), score);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(score)) {
        throw CompressionError::toolFailed("ssimulacra2 未返回有效画质评分");
    }
    return score;
}

ResultValidation::ResultValidation(ToolRunner tools, const QualityThresholds& thresholds,
                                   const Original& original, const URL& workDirectory)
    : tools_(std::move(tools)), thresholds_(thresholds), original_(&original),
      gifReference_(std::make_shared<GIFReference>(original, workDirectory.appending("gif-reference"))) {}

ResultValidation ResultValidation::runningWith(ToolRunner tools) const {
    ResultValidation copy = *this;
    copy.tools_ = std::move(tools);
    return copy;
}

std::optional<Candidate> ResultValidation::validated(const URL& output, const std::string& encoder,
                                                     const Options& options) const {
    const std::int64_t bytes = fileSize(output);
    if (bytes < 1 || (!options.acceptLarger && bytes >= fileSize(original_->url))) {
        return std::nullopt;
    }
    const ImageFacts facts = ImageFacts::inspect(output);
    if (!original_->facts.compatible(facts, options.allowsSRGBConversion)) {
        throw CompressionError::fileOperation("压缩结果的尺寸、方向、帧信息或色彩配置与原图不一致");
    }
    const Verdict verdict = judge(output, facts, options);
    if (!verdict.isAccepted) {
        return std::nullopt;
    }
    return Candidate{.url = output,
                     .encoder = encoder,
                     .score = verdict.score,
                     .bytes = bytes,
                     .allowsSRGBConversion = options.allowsSRGBConversion};
}

ResultValidation::Verdict ResultValidation::judge(const URL& output, const ImageFacts& facts,
                                                  const Options& options) const {
    switch (original_->facts.kind) {
    case ImageKind::gif:
        return judgeGIF(output, options.isLossy);
    case ImageKind::png:
        return judgePNG(output, facts, options);
    case ImageKind::jpeg:
    case ImageKind::heic:
        break;
    }
    return options.isLossy ? judgeByScore(output, thresholds_.jpeg, options) : Verdict{.isAccepted = true};
}

ResultValidation::Verdict ResultValidation::judgeGIF(const URL& output, bool isLossy) const {
    if (!isLossy) {
        return {.isAccepted = ImageFacts::gifFramesEqual(original_->url, output)};
    }
    const auto score = gifQualityScore(output);
    return {.isAccepted = score.has_value(), .score = score};
}

ResultValidation::Verdict ResultValidation::judgePNG(const URL& output, const ImageFacts& facts,
                                                     const Options& options) const {
    const bool hasAlpha = original_->facts.hasAlpha || facts.hasAlpha;
    if (!options.isLossy) {
        return {.isAccepted = !hasAlpha || ImageFacts::pixelsEqual(original_->url, output)};
    }
    if (hasAlpha && !ImageFacts::quantizedAlphaWithin(original_->url, output)) {
        return {};
    }
    return judgeByScore(output, thresholds_.png, options);
}

ResultValidation::Verdict ResultValidation::judgeByScore(const URL& output, double kindThreshold,
                                                         const Options& options) const {
    const double value = score(original_->url, output);
    return {.isAccepted = options.minimumScore.value_or(kindThreshold) <= value, .score = value};
}

double ResultValidation::score(const URL& reference, const URL& candidate) const {
    return parseScore(tools_.run(Tool::ssimulacra2, ToolArguments::ssimulacra2(reference, candidate),
                                 toolTimeout, toolMemory(Tool::ssimulacra2, original_->facts)));
}

std::optional<double> ResultValidation::gifQualityScore(const URL& candidate) const {
    const std::vector<URL> references = gifReference_->frames();
    const CandidateFrames frames(candidate);
    const auto count = static_cast<std::int64_t>(frames.files().size());
    if (frames.files().size() != references.size() || count != original_->facts.frameCount) {
        return std::nullopt;
    }
    double worst = bestFrameScore;
    for (std::size_t i = 0; i < references.size(); ++i) {
        const auto value = frameScore(references[i], frames.files()[i]);
        if (!value || *value < thresholds_.gif) {
            return std::nullopt;
        }
        worst = std::min(worst, *value);
    }
    return worst;
}

std::optional<double> ResultValidation::frameScore(const URL& reference, const URL& candidate) const {
    if (isSameFrame(reference, candidate)) {
        return bestFrameScore;
    }
    return hasNewHoles(reference, candidate) ? std::nullopt : std::optional(score(reference, candidate));
}

} // namespace tarnwick
