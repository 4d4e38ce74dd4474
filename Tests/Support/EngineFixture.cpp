#include "Support/EngineFixture.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"

#include <limits>

namespace tarnwick::test {

Workshop::Workshop(const URL& picture, const FakeTools& tools, int processors, std::int64_t largestRun)
    : budget(
          [processors] {
              return ToolBudget::Capacity{.processors = processors,
                                          .memory = std::numeric_limits<std::int64_t>::max()};
          },
          largestRun),
      runner(tools.folder(), Cancellation::never(), budget), original{.url = picture,
                                                                      .facts = ImageFacts::inspect(picture),
                                                                      .bytes = fileSize(picture),
                                                                      .hash = hash(picture),
                                                                      .version = FileVersion::of(picture)} {}

std::vector<std::string> Workshop::outcome(std::vector<Candidate> (*recipe)(const RecipeContext&)) const {
    std::vector<std::string> lines;
    try {
        for (const Candidate& candidate : recipe(context)) {
            lines.push_back(candidate.encoder + " " + std::to_string(candidate.bytes));
        }
    } catch (const CompressionError& error) {
        lines.push_back(error.errorDescription());
    }
    return lines;
}

EngineFixture::EngineFixture() {
    tools.script("ssimulacra2", {{"print", "90"}});
    for (const char* tool : {"pngquant", "oxipng"}) {
        tools.script(tool, {{"output", picture("photo-small.png").path()}});
    }
}

CompressionEngine EngineFixture::engine() const {
    const QualityThresholds thresholds;
    return {tools.folder(), store, thresholds.jpeg, thresholds.png, thresholds.gif};
}

std::string EngineFixture::failure(const URL& url) const {
    try {
        compress(url);
        return "";
    } catch (const std::exception& error) {
        return errorDescription(error);
    }
}

} // namespace tarnwick::test
