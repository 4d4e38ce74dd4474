#include "Engine/CompressionEngine.h"

#include "Engine/HEICConversion.h"
#include "Engine/Original.h"
#include "Engine/Recipes.h"
#include "Engine/Replacement.h"
#include "Engine/ResultValidation.h"
#include "Engine/ToolPaths.h"
#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileDescriptor.h"
#include "Foundation/FileOperations.h"
#include "Foundation/WorkRegister.h"

#include <utility>

namespace tarnwick {
namespace {

/// Takes stock of the file, or refuses it.
Original examine(const URL& url) {
    if (!url.isFileURL()) {
        throw CompressionError::fileOperation("请选择本地图片文件");
    }
    if (!isRegularFile(url)) {
        throw CompressionError::fileOperation("请选择普通图片文件");
    }
    // Inspecting a file that may not be read says only that it is no picture; opening it says why.
    openForReading(url);
    const ImageFacts facts = ImageFacts::inspect(url);
    return {.url = url, .facts = facts, .bytes = fileSize(url), .hash = hash(url)};
}

std::vector<Candidate> candidates(const RecipeContext& context) {
    switch (context.original.facts.kind) {
    case ImageKind::jpeg:
        return jpegCandidates(context);
    case ImageKind::gif:
        return gifCandidates(context);
    case ImageKind::png:
    case ImageKind::heic:
        break;
    }
    return pngCandidates(context);
}

} // namespace

CompressionEngine::CompressionEngine(const URL& toolDirectory, UndoStore undo, double qualityThreshold,
                                     double pngQualityThreshold, double gifQualityThreshold,
                                     const Cancellation& cancellation)
    : tools_(toolDirectory, cancellation), undo_(std::move(undo)), thresholds_{.general = qualityThreshold,
                                                                               .gif = gifQualityThreshold,
                                                                               .png = pngQualityThreshold} {}

CompressionResult CompressionEngine::compress(const URL& url, const UUID& sessionID) const {
    const Original original = examine(url);
    // Without its note nobody would ever find a killed compression's folder, so then there is no compression.
    const WorkNote note(url.deletingLastPathComponent(), WorkItem::directory);
    const ScopedDirectory work(note.item());
    if (original.facts.kind == ImageKind::heic) {
        return compressHEIC(undo_, original, sessionID, work.url());
    }
    const ToolRunner tools = tools_.holding(note);
    const ToolPaths paths(url, work.url());
    const ResultValidation validation(tools, thresholds_, original, paths.workDirectory());
    const std::vector<Candidate> accepted = candidates({.tools = tools,
                                                        .thresholds = thresholds_,
                                                        .original = original,
                                                        .input = paths.input(),
                                                        .workDirectory = paths.workDirectory(),
                                                        .validation = validation});
    const Candidate* winner = smallest(accepted);
    if (winner == nullptr || winner->bytes >= original.bytes) {
        return {.url = url, .originalBytes = original.bytes, .finalBytes = original.bytes};
    }
    const UndoRecord record = replaceOriginal(undo_, original, *winner, sessionID);
    return {.url = url,
            .originalBytes = original.bytes,
            .finalBytes = winner->bytes,
            .outcome = CompressionOutcome::replaced,
            .encoder = winner->encoder,
            .qualityScore = winner->score,
            .undoRecord = record};
}

} // namespace tarnwick
