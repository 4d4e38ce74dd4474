#pragma once

#include "Engine/CompressionResult.h"
#include "Engine/Recipes.h"

#include <functional>
#include <vector>

namespace tarnwick {

/// An independent part of a recipe: runs its encoders with the given context and returns the valid
/// candidates.
using RecipeStep = std::function<std::vector<Candidate>(const RecipeContext&)>;

/// Runs the steps in parallel, each on its own thread, and blocks until all have finished. Returns their
/// results in the order of the steps. When several throw, the error of the first in this order is thrown, as
/// in a sequential run: a step that throws cancels the later steps, and the earlier ones run to completion.
std::vector<std::vector<Candidate>> sideBySide(const RecipeContext& context,
                                               const std::vector<RecipeStep>& steps);

/// All candidates, in the order of the steps.
std::vector<Candidate> joined(std::vector<std::vector<Candidate>> candidates);

} // namespace tarnwick
