#pragma once

#include "Engine/CompressionResult.h"
#include "Engine/Original.h"
#include "Engine/QualityThresholds.h"
#include "Engine/ResultValidation.h"
#include "Foundation/URL.h"
#include "Process/ToolRunner.h"

#include <cstdint>
#include <vector>

namespace tarnwick {

/// What a recipe works with. Everything it refers to outlives the call.
struct RecipeContext {
    ToolRunner tools;
    const QualityThresholds& thresholds;
    const Original& original;
    /// The original by a name that every tool can take.
    const URL& input;
    const URL& workDirectory;
    ResultValidation validation;

    /// The same with another cancellation.
    RecipeContext cancelledBy(const Cancellation& cancellation) const;

    /// Throws CompressionError::toolMissing for the first tool that is absent.
    void requireTools(std::initializer_list<const char*> names) const;
    /// Runs a tool on the original within the time that one run may take.
    void run(const char* tool, const std::vector<std::string>& arguments) const;
    /// The same, on something that needs `memory` bytes.
    void run(const char* tool, const std::vector<std::string>& arguments, std::int64_t memory) const;
};

/// Each recipe tries its encoders, side by side where none depends on another, and returns what passed
/// validation in the encoders' fixed order. Throws what the tools and the validation throw.
std::vector<Candidate> pngCandidates(const RecipeContext& context);
std::vector<Candidate> jpegCandidates(const RecipeContext& context);
std::vector<Candidate> gifCandidates(const RecipeContext& context);

/// The smallest candidate; the first made of those of one size. Null when there is none.
const Candidate* smallest(const std::vector<Candidate>& candidates);

} // namespace tarnwick
