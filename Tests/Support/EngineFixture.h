#pragma once

#include "Engine/CompressionEngine.h"
#include "Engine/Original.h"
#include "Engine/Recipes.h"
#include "Support/FakeTools.h"
#include "Support/SystemCalls.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tarnwick::test {

/// Asks a function before each changing call; what it returns is the call's failure, 0 none.
class Fault : public SystemCallObserver {
public:
    explicit Fault(std::function<int(const SystemCall&)> decide) : decide_(std::move(decide)) {}
    int before(const SystemCall& call) override { return decide_(call); }

private:
    std::function<int(const SystemCall&)> decide_;
    Observation observation_{*this};
};

/// What a recipe or a validation needs, around one original.
struct Workshop {
    /// `processors` bounds how many tools run at a time.
    explicit Workshop(const URL& picture, const FakeTools& tools, int processors = 8);
    Workshop(const Workshop&) = delete;
    Workshop& operator=(const Workshop&) = delete;

    /// "label bytes", one a candidate; a failure's text when the recipe throws.
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

/// A folder of pictures, a store and scripted tools.
class EngineFixture : public testing::Test {
protected:
    URL picture(const std::string& name, const Bytes& bytes) const;
    URL prepared(const std::string& name, const Bytes& bytes) const;
    CompressionEngine engine(const Cancellation& cancellation = {}) const;
    CompressionResult compress(const URL& url) const { return engine().compress(url, UUID::random()); }
    /// The text of the failure; "" when there is none.
    std::string failure(const URL& url) const;

    TemporaryFolder pictures;
    TemporaryFolder home;
    FakeTools tools;
    UndoStore store{home / "Undo"};
};

} // namespace tarnwick::test
