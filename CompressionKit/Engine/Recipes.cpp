#include "Engine/Recipes.h"

#include "Engine/ToolArguments.h"
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

void RecipeContext::run(const char* tool, const std::vector<std::string>& arguments) const {
    tools.run(tool, arguments, toolTimeout);
}

const Candidate* smallest(const std::vector<Candidate>& candidates) {
    const auto least =
        std::min_element(candidates.begin(), candidates.end(),
                         [](const Candidate& a, const Candidate& b) { return a.bytes < b.bytes; });
    return least == candidates.end() ? nullptr : &*least;
}

} // namespace tarnwick
