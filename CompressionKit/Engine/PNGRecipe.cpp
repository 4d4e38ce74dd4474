#include "Engine/Recipes.h"
#include "Engine/SideBySide.h"
#include "Engine/ToolArguments.h"
#include "Foundation/CompressionError.h"

#include <fmt/format.h>

#include <array>
#include <optional>

namespace tarnwick {
namespace {

constexpr std::array<QuantizeSetting, 4> settings = {{
    {90, "0.25", 1},
    {90, "1.0", 4},
    {100, "1.0", 1},
    {100, "0.0", 1},
}};
/// From here on a setting is only a last resort, for when none before it gave a candidate.
constexpr std::size_t firstLastResort = 2;
constexpr int lossyOptimizationLevel = 4;
constexpr int losslessOptimizationLevel = 2;

/// pngquant turns what it quantizes into sRGB.
constexpr ResultValidation::Options quantizedOptions = {.isLossy = true, .allowsSRGBConversion = true};

using Candidates = std::vector<Candidate>;

Candidates listOf(std::optional<Candidate> candidate) {
    return candidate ? Candidates{std::move(*candidate)} : Candidates{};
}

/// A setting that fails, or whose output cannot be judged, loses only its candidate: a picture that pngquant
/// cannot treat still gets its lossless pass.
Candidates quantized(const RecipeContext& context, std::size_t variant) {
    const QuantizeSetting& setting = settings.at(variant);
    const URL output = context.workDirectory.appending(fmt::format("quant-{}.png", variant));
    try {
        context.run(Tool::pngquant, ToolArguments::pngquant(setting, context.input, output));
        return listOf(context.validation.validated(output, setting.label(), quantizedOptions));
    } catch (const CompressionError&) {
        return {};
    }
}

RecipeStep quantizing(std::size_t variant) {
    return [variant](const RecipeContext& context) { return quantized(context, variant); };
}

/// The quantized winner after oxipng, when that made it smaller still.
Candidates optimized(const RecipeContext& context, const Candidate& winner) {
    const URL output = context.workDirectory.appending("palette-opt.png");
    context.run(Tool::oxipng, ToolArguments::oxipng(lossyOptimizationLevel, winner.url, output));
    auto candidate = context.validation.validated(output, winner.encoder + " + OxiPNG", quantizedOptions);
    return {candidate && candidate->bytes < winner.bytes ? *candidate : winner};
}

Candidates lossless(const RecipeContext& context) {
    const URL output = context.workDirectory.appending("lossless.png");
    context.run(Tool::oxipng, ToolArguments::oxipng(losslessOptimizationLevel, context.input, output));
    return listOf(context.validation.validated(output, "OxiPNG", {}));
}

/// The optimized winner of the quantized candidates, and the lossless pass beside it.
Candidates withWinner(const RecipeContext& context, const Candidates& accepted) {
    const Candidate& winner = *smallest(accepted);
    return joined(sideBySide(
        context, {[&winner](const RecipeContext& step) { return optimized(step, winner); }, lossless}));
}

/// The settings of last resort, and the lossless pass beside them.
Candidates withLastResort(const RecipeContext& context) {
    auto results =
        sideBySide(context, {quantizing(firstLastResort), quantizing(firstLastResort + 1), lossless});
    Candidates last = std::move(results.back());
    results.pop_back();
    const Candidates accepted = joined(std::move(results));
    if (const Candidate* winner = smallest(accepted)) {
        last.insert(last.begin(), optimized(context, *winner).front());
    }
    return last;
}

} // namespace

std::vector<Candidate> pngCandidates(const RecipeContext& context) {
    context.requireTools({Tool::pngquant, Tool::oxipng, Tool::ssimulacra2});
    // The lossless pass comes with the second round: there it fills the processors that the steps which need
    // a winner, one after another, leave idle.
    const Candidates accepted = joined(sideBySide(context, {quantizing(0), quantizing(1)}));
    return accepted.empty() ? withLastResort(context) : withWinner(context, accepted);
}

} // namespace tarnwick
