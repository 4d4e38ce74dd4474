#pragma once

#include "Engine/CompressionResult.h"
#include "Engine/Recipes.h"

#include <functional>
#include <vector>

namespace tarnwick {

/// A part of a recipe that depends on no other: tries its encoders through the context that it is given, and
/// returns what passed validation.
using RecipeStep = std::function<std::vector<Candidate>(const RecipeContext&)>;

/// Runs the steps at the same time, each on a thread of its own, and blocks until all have ended. Returns
/// what each returned, in the order of the steps. When some throw, the error is that of the first in this
/// order, as if they had run one after another: a step that throws cancels those after it, and lets those
/// before it end.
std::vector<std::vector<Candidate>> sideBySide(const RecipeContext& context,
                                               const std::vector<RecipeStep>& steps);

/// All candidates, in the order of the steps.
std::vector<Candidate> joined(std::vector<std::vector<Candidate>> candidates);

} // namespace tarnwick
