#include "Engine/Recipes.h"
#include "Engine/ToolArguments.h"
#include "Foundation/Directory.h"
#include "Inspection/GIFPalette.h"

#include <fmt/format.h>

#include <array>
#include <limits>

namespace tarnwick {
namespace {

constexpr std::array<int, 3> lossyLevels = {12, 8, 4};
constexpr int reducedColors = 128;
constexpr int reducedLossyLevel = 4;
constexpr std::array<int, 3> sharedColors = {128, 192, 255};
constexpr std::array<int, 2> sharedLossyLevels = {0, 4};

class GIFRecipe {
public:
    explicit GIFRecipe(const RecipeContext& context) : context_(context) {}

    std::vector<Candidate> candidates() {
        tryLossless();
        for (const int level : lossyLevels) {
            tryLossy(level);
        }
        tryReducedPalette();
        if (context_.tools.has(Tool::pngquant) && !isAlreadySmall()) {
            trySharedPalettes();
        }
        return std::move(candidates_);
    }

private:
    URL file(const std::string& name) const { return context_.workDirectory.appending(name); }

    void tryOutput(const ToolArguments::List& arguments, const URL& output, const std::string& label,
                   bool isLossy) {
        context_.run(Tool::gifsicle, arguments);
        if (auto candidate = context_.validation.validated(output, label, {.isLossy = isLossy})) {
            candidates_.push_back(std::move(*candidate));
        }
    }

    void tryLossless() {
        const URL output = file("optimized.gif");
        tryOutput(ToolArguments::gifsicleLossless(context_.input, output), output, "Gifsicle -O3", false);
    }

    void tryLossy(int level) {
        const URL output = file(fmt::format("lossy-{}.gif", level));
        tryOutput(ToolArguments::gifsicleLossy(level, context_.input, output), output,
                  fmt::format("Gifsicle lossy{}", level), true);
    }

    void tryReducedPalette() {
        const URL output = file("palette.gif");
        tryOutput(ToolArguments::gifsicleColors(reducedColors, reducedLossyLevel, context_.input, output),
                  output, fmt::format("Gifsicle {} colors", reducedColors), true);
    }

    /// Whether a candidate is below nine tenths of the original, so that finding palettes is not worth its
    /// time.
    bool isAlreadySmall() const {
        const Candidate* best = smallest(candidates_);
        const std::int64_t bytes = context_.original.bytes;
        // A size whose ninefold does not fit is beyond any real file; nothing counts as small beside it.
        const bool overflows = bytes > std::numeric_limits<std::int64_t>::max() / 9;
        return best != nullptr && !overflows && best->bytes < 9 * bytes / 10;
    }

    void trySharedPalettes() {
        const URL sheet = file("gif-contact.png");
        GIFPalette::writeContactSheet(context_.validation.gifReferenceFrames(), sheet);
        for (const int colors : sharedColors) {
            const URL palette = file(fmt::format("gif-map-{}.png", colors));
            const URL map = file(fmt::format("gif-map-{}.gif", colors));
            context_.run(Tool::pngquant, ToolArguments::pngquantPalette(colors, sheet, palette));
            GIFPalette::writeColorMap(palette, map);
            for (const int level : sharedLossyLevels) {
                trySharedPalette(colors, level, map);
            }
        }
    }

    /// The levels of one palette write files of one name, so each level has a folder of its own.
    void trySharedPalette(int colors, int level, const URL& map) {
        const URL folder = file(fmt::format("lossy{}", level));
        createDirectories(folder);
        const URL output = folder.appending(fmt::format("shared-{}.gif", colors));
        std::string label = fmt::format("pngquant GIF {} colors", colors);
        if (level > 0) {
            label += fmt::format(" + Gifsicle lossy{}", level);
        }
        tryOutput(ToolArguments::gifsicleColorMap(map, level, context_.input, output), output, label, true);
    }

    const RecipeContext& context_;
    std::vector<Candidate> candidates_;
};

} // namespace

std::vector<Candidate> gifCandidates(const RecipeContext& context) {
    context.requireTools({Tool::gifsicle, Tool::ssimulacra2});
    return GIFRecipe(context).candidates();
}

} // namespace tarnwick
