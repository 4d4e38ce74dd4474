#include "Engine/Recipes.h"

#include "Engine/ToolArguments.h"
#include "Engine/ToolMemory.h"
#include "Foundation/CompressionError.h"

#include <algorithm>

namespace tarnwick {

void RecipeContext::requireTools(std::initializer_list<const char*> names) const {
    for (const char* name : names) {
        if (!tools.has(name)) {
            throw CompressionError::toolMissing(name);
        }
    }
}

bool RecipeContext::affords(const char* tool) const {
    return tools.budget().affords(toolMemory(tool, original.facts));
}

void RecipeContext::requireMemory(const char* tool) const {
    tools.budget().require(toolMemory(tool, original.facts));
}

RecipeContext RecipeContext::cancelledBy(const Cancellation& cancellation) const {
    const ToolRunner runner = tools.cancelledBy(cancellation);
    return {.tools = runner,
            .thresholds = thresholds,
            .original = original,
            .input = input,
            .workDirectory = workDirectory,
            .validation = validation.runningWith(runner)};
}

void RecipeContext::run(const char* tool, const std::vector<std::string>& arguments) const {
    run(tool, arguments, toolMemory(tool, original.facts));
}

void RecipeContext::run(const char* tool, const std::vector<std::string>& arguments,
                        std::int64_t memory) const {
    tools.run(tool, arguments, toolTimeout, memory);
}

const Candidate* smallest(const std::vector<Candidate>& candidates) {
    const auto least =
        std::min_element(candidates.begin(), candidates.end(),
                         [](const Candidate& a, const Candidate& b) { return a.bytes < b.bytes; });
    return least == candidates.end() ? nullptr : &*least;
}

} // namespace tarnwick
