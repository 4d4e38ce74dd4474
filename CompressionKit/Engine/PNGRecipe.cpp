#include "Engine/Recipes.h"
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
/// From here on a setting is only a last resort, when none before it gave a candidate.
constexpr std::size_t firstLastResort = 2;
constexpr int lossyOptimizationLevel = 4;
constexpr int losslessOptimizationLevel = 2;

/// pngquant turns what it quantizes into sRGB.
constexpr ResultValidation::Options quantizedOptions = {.isLossy = true, .allowsSRGBConversion = true};

/// A setting that fails, or whose output cannot be judged, loses only its candidate: a picture that pngquant
/// cannot treat still gets its lossless pass.
std::optional<Candidate> quantized(const RecipeContext& context, std::size_t variant) {
    const QuantizeSetting& setting = settings.at(variant);
    const URL output = context.workDirectory.appending(fmt::format("quant-{}.png", variant));
    try {
        context.run(Tool::pngquant, ToolArguments::pngquant(setting, context.input, output));
        return context.validation.validated(output, setting.label(), quantizedOptions);
    } catch (const CompressionError&) {
        return std::nullopt;
    }
}

std::vector<Candidate> quantizedCandidates(const RecipeContext& context) {
    std::vector<Candidate> accepted;
    for (std::size_t variant = 0; variant < settings.size(); ++variant) {
        if (variant == firstLastResort && !accepted.empty()) {
            break;
        }
        if (auto candidate = quantized(context, variant)) {
            accepted.push_back(std::move(*candidate));
        }
    }
    return accepted;
}

/// The quantized winner after oxipng, when that made it smaller still.
Candidate optimized(const RecipeContext& context, const Candidate& winner) {
    const URL output = context.workDirectory.appending("palette-opt.png");
    context.run(Tool::oxipng, ToolArguments::oxipng(lossyOptimizationLevel, winner.url, output));
    auto candidate = context.validation.validated(output, winner.encoder + " + OxiPNG", quantizedOptions);
    return candidate && candidate->bytes < winner.bytes ? *candidate : winner;
}

std::optional<Candidate> lossless(const RecipeContext& context) {
    const URL output = context.workDirectory.appending("lossless.png");
    context.run(Tool::oxipng, ToolArguments::oxipng(losslessOptimizationLevel, context.input, output));
    return context.validation.validated(output, "OxiPNG", {});
}

} // namespace

std::vector<Candidate> pngCandidates(const RecipeContext& context) {
    context.requireTools({Tool::pngquant, Tool::oxipng, Tool::ssimulacra2});
    const std::vector<Candidate> accepted = quantizedCandidates(context);
    std::vector<Candidate> candidates;
    if (const Candidate* winner = smallest(accepted)) {
        candidates.push_back(optimized(context, *winner));
    }
    if (auto candidate = lossless(context)) {
        candidates.push_back(std::move(*candidate));
    }
    return candidates;
}

} // namespace tarnwick
