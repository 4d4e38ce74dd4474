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

/// The inputs of a recipe. All references outlive the call.
struct RecipeContext {
    ToolRunner tools;
    const QualityThresholds& thresholds;
    const Original& original;
    /// The original under a name that every tool accepts.
    const URL& input;
    const URL& workDirectory;
    ResultValidation validation;

    /// A copy with another cancellation.
    RecipeContext cancelledBy(const Cancellation& cancellation) const;

    /// Throws CompressionError::toolMissing for the first missing tool.
    void requireTools(std::initializer_list<const char*> names) const;
    /// Whether the machine has the memory for the tool and the original. It is enough to ask for the scorer,
    /// which needs most.
    bool affords(const char* tool) const;
    /// Throws CompressionError::fileOperation when it has not.
    void requireMemory(const char* tool) const;
    /// Runs a tool on the original, with the time limit of a tool run.
    void run(const char* tool, const std::vector<std::string>& arguments) const;
    /// The same for an input that needs `memory` bytes.
    void run(const char* tool, const std::vector<std::string>& arguments, std::int64_t memory) const;
};

/// Each recipe runs its encoders, in parallel where they are independent, and returns the valid candidates in
/// a fixed order. Throws what the tools and the validation throw.
std::vector<Candidate> pngCandidates(const RecipeContext& context);
std::vector<Candidate> jpegCandidates(const RecipeContext& context);
std::vector<Candidate> gifCandidates(const RecipeContext& context);

/// The smallest candidate, and the first of equal size. Null when there is none.
const Candidate* smallest(const std::vector<Candidate>& candidates);

} // namespace tarnwick
