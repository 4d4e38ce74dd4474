#pragma once

#include "Engine/CompressionEngine.h"
#include "Engine/Original.h"
#include "Engine/Recipes.h"
#include "Support/FakeTools.h"
#include "Support/Pictures.h"
#include "Support/SystemCalls.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace tarnwick::test {

/// The inputs of a recipe or a validation for one original.
struct Workshop {
    /// At most `processors` tools run at a time, and none that needs more than `largestRun` bytes.
    explicit Workshop(const URL& picture, const FakeTools& tools, int processors = 8,
                      std::int64_t largestRun = std::numeric_limits<std::int64_t>::max());
    Workshop(const Workshop&) = delete;
    Workshop& operator=(const Workshop&) = delete;

    /// "label bytes" for each candidate, or the error text when the recipe throws.
    std::vector<std::string> outcome(std::vector<Candidate> (*recipe)(const RecipeContext&)) const;

    TemporaryFolder folder;
    URL work = folder.url();
    ToolBudget budget;
    ToolRunner runner;
    QualityThresholds thresholds;
    Original original;
    ResultValidation validation{runner, thresholds, original, work};
    RecipeContext context{runner, thresholds, original, original.url, work, validation};
};

/// A folder of the user's pictures, a store and fake tools, of which those for PNG make photo-small.png.
class EngineFixture : public testing::Test {
protected:
    EngineFixture();

    /// A copy of the fixture among the user's pictures.
    URL original(const std::string& fixture) const { return copyPicture(fixture, pictures / fixture); }
    CompressionEngine engine() const;
    CompressionResult compress(const URL& url) const { return engine().compress(url, UUID::random()); }
    /// The error text; empty without an error.
    std::string failure(const URL& url) const;

    TemporaryFolder pictures;
    TemporaryFolder home;
    FakeTools tools;
    UndoStore store{home / "Undo"};
};

} // namespace tarnwick::test
