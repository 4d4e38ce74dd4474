#include "Engine/Recipes.h"
#include "Engine/SideBySide.h"
#include "Engine/ToolArguments.h"
#include "Engine/ToolMemory.h"
#include "Foundation/Directory.h"
#include "Inspection/GIFPalette.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>

namespace tarnwick {
namespace {

constexpr std::array<int, 3> lossyLevels = {12, 8, 4};
constexpr int reducedColors = 128;
constexpr int reducedLossyLevel = 4;
constexpr std::array<int, 3> sharedColors = {128, 192, 255};
constexpr std::array<int, 2> sharedLossyLevels = {0, 4};

using Candidates = std::vector<Candidate>;

URL file(const RecipeContext& context, const std::string& name) {
    return context.workDirectory.appending(name);
}

Candidates tryOutput(const RecipeContext& context, const ToolArguments::List& arguments, const URL& output,
                     const std::string& label, bool isLossy) {
    context.run(Tool::gifsicle, arguments);
    auto candidate = context.validation.validated(output, label, {.isLossy = isLossy});
    return candidate ? Candidates{std::move(*candidate)} : Candidates{};
}

Candidates tryLosslessGIF(const RecipeContext& context) {
    const URL output = file(context, "optimized.gif");
    return tryOutput(context, ToolArguments::gifsicleLossless(context.input, output), output, "Gifsicle -O3",
                     false);
}

RecipeStep tryingLossy(int level) {
    return [level](const RecipeContext& context) {
        const URL output = file(context, fmt::format("lossy-{}.gif", level));
        return tryOutput(context, ToolArguments::gifsicleLossy(level, context.input, output), output,
                         fmt::format("Gifsicle lossy{}", level), true);
    };
}

Candidates tryReducedPalette(const RecipeContext& context) {
    const URL output = file(context, "palette.gif");
    return tryOutput(context,
                     ToolArguments::gifsicleColors(reducedColors, reducedLossyLevel, context.input, output),
                     output, fmt::format("Gifsicle {} colors", reducedColors), true);
}

Candidates tryOwnPalettes(const RecipeContext& context) {
    std::vector<RecipeStep> steps = {tryLosslessGIF};
    std::transform(lossyLevels.begin(), lossyLevels.end(), std::back_inserter(steps), tryingLossy);
    steps.emplace_back(tryReducedPalette);
    return joined(sideBySide(context, steps));
}

/// Whether a candidate is below nine tenths of the original; then the palette search is not worth its time.
bool isAlreadySmall(const RecipeContext& context, const Candidates& candidates) {
    const Candidate* best = smallest(candidates);
    const std::int64_t bytes = context.original.bytes;
    const bool overflows = bytes > std::numeric_limits<std::int64_t>::max() / 9;
    return best != nullptr && !overflows && best->bytes < 9 * bytes / 10;
}

/// All levels use the same file name, so each level has its own folder.
RecipeStep tryingSharedPalette(int colors, int level, const URL& map) {
    return [=](const RecipeContext& context) {
        const URL folder = file(context, fmt::format("lossy{}", level));
        createDirectory(folder);
        const URL output = folder.appending(fmt::format("shared-{}.gif", colors));
        std::string label = fmt::format("pngquant GIF {} colors", colors);
        if (level > 0) {
            label += fmt::format(" + Gifsicle lossy{}", level);
        }
        return tryOutput(context, ToolArguments::gifsicleColorMap(map, level, context.input, output), output,
                         label, true);
    };
}

/// Finds a palette of `colors` colours for the whole sheet and tries it at all levels.
RecipeStep searchingPalette(int colors, const URL& sheet) {
    return [=](const RecipeContext& context) {
        const URL palette = file(context, fmt::format("gif-map-{}.png", colors));
        const URL map = file(context, fmt::format("gif-map-{}.gif", colors));
        const ImageFacts& facts = context.original.facts;
        context.run(Tool::pngquant, ToolArguments::pngquantPalette(colors, sheet, palette),
                    toolMemory(Tool::pngquant, GIFPalette::maximumTiles * facts.width * facts.height));
        GIFPalette::writeColorMap(palette, map);
        std::vector<RecipeStep> steps;
        std::transform(sharedLossyLevels.begin(), sharedLossyLevels.end(), std::back_inserter(steps),
                       [&](int level) { return tryingSharedPalette(colors, level, map); });
        return joined(sideBySide(context, steps));
    };
}

Candidates trySharedPalettes(const RecipeContext& context) {
    const URL sheet = file(context, "gif-contact.png");
    GIFPalette::writeContactSheet(context.validation.gifReference().frames(), sheet);
    std::vector<RecipeStep> steps;
    std::transform(sharedColors.begin(), sharedColors.end(), std::back_inserter(steps),
                   [&](int colors) { return searchingPalette(colors, sheet); });
    return joined(sideBySide(context, steps));
}

} // namespace

std::vector<Candidate> gifCandidates(const RecipeContext& context) {
    context.requireTools({Tool::gifsicle, Tool::ssimulacra2});
    Candidates candidates = tryOwnPalettes(context);
    if (context.tools.has(Tool::pngquant) && !isAlreadySmall(context, candidates)) {
        candidates = joined({std::move(candidates), trySharedPalettes(context)});
    }
    return candidates;
}

} // namespace tarnwick
