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
#include "Foundation/FileSystemError.h"
#include "Foundation/WorkRegister.h"

#include <cerrno>
#include <cstdint>
#include <utility>

namespace tarnwick {
namespace {

void requireRegularFile(const URL& url) {
    if (!url.isFileURL()) {
        throw CompressionError::fileOperation("请选择本地图片文件");
    }
    if (!itemExists(url)) {
        throw FileSystemError("无法读取文件信息", url, ENOENT);
    }
    if (!isRegularFile(url)) {
        throw CompressionError::fileOperation(notARegularFile);
    }
}

Original examine(const URL& url) {
    requireRegularFile(url);
    const FileVersion version = FileVersion::of(url);
    // For a file without read permission, inspecting reports only an undecodable picture; opening reports the
    // cause.
    openForReading(url);
    const ImageFacts facts = ImageFacts::inspect(url);
    return {.url = url, .facts = facts, .bytes = fileSize(url), .hash = hash(url), .version = version};
}

/// More bytes than an encoder writes for this picture: more than its uncompressed pixels, even dithered ones.
std::int64_t largestOutput(const Original& original) {
    constexpr std::int64_t base = std::int64_t{64} << 20;
    constexpr std::int64_t bytesPerPixel = 4;
    const ImageFacts& facts = original.facts;
    // The decoders' size limits keep the product from overflowing.
    return base + 4 * original.bytes + bytesPerPixel * facts.width * facts.height * facts.frameCount;
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
                                     double pngQualityThreshold, double gifQualityThreshold)
    : tools_(toolDirectory), undo_(std::move(undo)), thresholds_{.jpeg = qualityThreshold,
                                                                 .gif = gifQualityThreshold,
                                                                 .png = pngQualityThreshold} {}

CompressionEngine CompressionEngine::cancelledBy(const Cancellation& cancellation) const {
    CompressionEngine engine = *this;
    engine.tools_ = tools_.cancelledBy(cancellation);
    return engine;
}

CompressionResult CompressionEngine::compress(const URL& url, const UUID& sessionID) const {
    const Original original = examine(url);
    // Only the note leads to the folder of a compression that was killed: no note, no compression.
    const WorkNote note(url.deletingLastPathComponent(), WorkItem::directory);
    const ScopedDirectory work(note.item());
    if (original.facts.kind == ImageKind::heic) {
        return compressHEIC(undo_, original, sessionID, work.url());
    }
    const ToolRunner tools = tools_.holding(note).confinedTo(
        {.files = {{.readable = {url}, .writable = {work.url()}}}, .largestFile = largestOutput(original)});
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
