#include "Engine/Recipes.h"
#include "Engine/SideBySide.h"
#include "Engine/ToolArguments.h"
#include "Foundation/Directory.h"
#include "Inspection/JPEGMetadata.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace tarnwick {
namespace {

constexpr double fineMinimumScore = 86;
constexpr double fineMultiPictureMinimumScore = 70;

/// The demands on a result, which follow from the original's own quality.
struct Demand {
    double minimumScore;
    bool allows444;
};

Demand demandOf(const RecipeContext& context) {
    const double threshold = context.thresholds.jpeg;
    if (!ImageFacts::hasFineJPEGQuantization(context.original.url)) {
        return {threshold, false};
    }
    if (context.original.facts.hasJPEGMultiPictureData) {
        return {std::max(threshold, fineMultiPictureMinimumScore), false};
    }
    return {std::max(threshold, fineMinimumScore), true};
}

/// A bounded search for the lowest quality whose score reaches the minimum.
class QualitySearch {
public:
    explicit QualitySearch(double minimumScore) : minimumScore_(minimumScore) {}

    bool isOver() const { return isCloseEnough_ || attemptsLeft_ == 0 || highest_ < lowest_; }
    int quality() const { return quality_; }

    void accept(double score) {
        --attemptsLeft_;
        hasAccepted_ = true;
        isCloseEnough_ = score <= minimumScore_ + 1.0;
        highest_ = quality_ - 1;
        const double excess = std::clamp((score - minimumScore_) * 1.2, 1.0, double{largestStep});
        quality_ = std::max(lowest_, std::min(quality_ - static_cast<int>(excess), highest_));
    }

    /// The last attempt uses the highest quality when nothing was accepted before.
    void reject() {
        --attemptsLeft_;
        lowest_ = quality_ + 1;
        quality_ = attemptsLeft_ == 1 && !hasAccepted_ ? highest_ : (lowest_ + highest_) / 2;
    }

private:
    static constexpr int largestStep = 12;

    double minimumScore_;
    int lowest_ = 60;
    int highest_ = 96;
    int quality_ = 72;
    int attemptsLeft_ = 4;
    bool hasAccepted_ = false;
    bool isCloseEnough_ = false;
};

/// Both chroma modes use the same file names, so each has its own folder.
std::vector<Candidate> searchMode(const RecipeContext& context, std::string_view mode, double minimumScore) {
    std::vector<Candidate> candidates;
    const URL folder = context.workDirectory.appending(mode);
    createDirectory(folder);
    QualitySearch search(minimumScore);
    while (!search.isOver()) {
        const int quality = search.quality();
        const URL output = folder.appending(fmt::format("jpegli-{}.jpg", quality));
        context.run(Tool::cjpegli, ToolArguments::cjpegli(quality, mode, context.input, output));
        JPEGMetadata::preserveOrientation(context.original.facts.orientation, output);
        const auto candidate =
            context.validation.validated(output, fmt::format("Jpegli q{} {}", quality, mode),
                                         {.isLossy = true, .minimumScore = minimumScore});
        if (candidate) {
            candidates.push_back(*candidate);
            search.accept(candidate->score.value_or(minimumScore));
        } else {
            search.reject();
        }
    }
    return candidates;
}

RecipeStep searching(std::string_view mode, double minimumScore) {
    return [=](const RecipeContext& context) { return searchMode(context, mode, minimumScore); };
}

} // namespace

std::vector<Candidate> jpegCandidates(const RecipeContext& context) {
    context.requireTools({Tool::cjpegli, Tool::ssimulacra2});
    context.requireMemory(Tool::ssimulacra2);
    const Demand demand = demandOf(context);
    std::vector<RecipeStep> modes = {searching("420", demand.minimumScore)};
    if (demand.allows444) {
        modes.push_back(searching("444", demand.minimumScore));
    }
    return joined(sideBySide(context, modes));
}

} // namespace tarnwick
