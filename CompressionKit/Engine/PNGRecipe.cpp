#include "Engine/Recipes.h"
#include "Engine/SideBySide.h"
#include "Engine/ToolArguments.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"

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
/// The settings from here on run only when none before gave a candidate.
constexpr std::size_t firstLastResort = 2;
constexpr int lossyOptimizationLevel = 4;
constexpr int losslessOptimizationLevel = 2;

/// pngquant converts its output to sRGB.
constexpr ResultValidation::Options quantizedOptions = {.isLossy = true, .allowsSRGBConversion = true};

using Candidates = std::vector<Candidate>;

Candidates listOf(std::optional<Candidate> candidate) {
    return candidate ? Candidates{std::move(*candidate)} : Candidates{};
}

/// When a setting fails or its output cannot be validated, only its candidate is lost: a picture that
/// pngquant cannot handle still gets its lossless pass.
Candidates tryQuantizing(const RecipeContext& context, std::size_t variant) {
    const QuantizeSetting& setting = settings.at(variant);
    const URL output = context.workDirectory.appending(fmt::format("quant-{}.png", variant));
    try {
        context.run(Tool::pngquant, ToolArguments::pngquant(setting, context.input, output));
        return listOf(context.validation.validated(output, setting.label(), quantizedOptions));
    } catch (const CompressionError&) {
        return {};
    } catch (const FileSystemError&) {
        // pngquant could not be launched, or it wrote no output.
        return {};
    }
}

RecipeStep quantizing(std::size_t variant) {
    return [variant](const RecipeContext& context) { return tryQuantizing(context, variant); };
}

/// The output of oxipng for the quantized winner if it is smaller, else the winner.
Candidates optimize(const RecipeContext& context, const Candidate& winner) {
    const URL output = context.workDirectory.appending("palette-opt.png");
    context.run(Tool::oxipng, ToolArguments::oxipng(lossyOptimizationLevel, winner.url, output));
    auto candidate = context.validation.validated(output, winner.encoder + " + OxiPNG", quantizedOptions);
    return {candidate && candidate->bytes < winner.bytes ? *candidate : winner};
}

Candidates tryLosslessPNG(const RecipeContext& context) {
    const URL output = context.workDirectory.appending("lossless.png");
    context.run(Tool::oxipng, ToolArguments::oxipng(losslessOptimizationLevel, context.input, output));
    return listOf(context.validation.validated(output, "OxiPNG", {}));
}

/// Optimizes the quantized winner, with the lossless pass at the same time.
Candidates finishWithWinner(const RecipeContext& context, const Candidates& accepted) {
    const Candidate& winner = *smallest(accepted);
    return joined(sideBySide(
        context, {[&winner](const RecipeContext& step) { return optimize(step, winner); }, tryLosslessPNG}));
}

/// Tries the settings of last resort, with the lossless pass at the same time.
Candidates finishWithLastResort(const RecipeContext& context) {
    auto results =
        sideBySide(context, {quantizing(firstLastResort), quantizing(firstLastResort + 1), tryLosslessPNG});
    Candidates last = std::move(results.back());
    results.pop_back();
    const Candidates accepted = joined(std::move(results));
    if (const Candidate* winner = smallest(accepted)) {
        last.insert(last.begin(), optimize(context, *winner).front());
    }
    return last;
}

} // namespace

std::vector<Candidate> pngCandidates(const RecipeContext& context) {
    context.requireTools({Tool::pngquant, Tool::oxipng, Tool::ssimulacra2});
    if (!context.affords(Tool::ssimulacra2)) {
        // Nothing lossy can be judged.
        return tryLosslessPNG(context);
    }
    // The lossless pass runs in the second round: there it uses processors that would be idle, since the
    // steps that need a winner run one after another.
    const Candidates accepted = joined(sideBySide(context, {quantizing(0), quantizing(1)}));
    return accepted.empty() ? finishWithLastResort(context) : finishWithWinner(context, accepted);
}

} // namespace tarnwick
