#include "TarnwickCommand/CompressCommand.h"

#include "Engine/CompressionEngine.h"
#include "Foundation/CompressionError.h"
#include "TarnwickCommand/Arguments.h"
#include "TarnwickCommand/Collecting.h"
#include "TarnwickCommand/CompressReporter.h"

namespace tarnwick {
namespace {

CompressionEngine engineFor(const CommandContext& context) {
    constexpr QualityThresholds thresholds;
    return {context.toolDirectory, context.undo,   thresholds.general,
            thresholds.png,        thresholds.gif, context.cancellation};
}

class Batch {
public:
    Batch(const CommandContext& context, std::vector<CollectedFile> files)
        : context_(context), files_(std::move(files)), engine_(engineFor(context)),
          reporter_(makeCompressReporter(context.output, context.json, files_)) {
        progress_.total = files_.size();
    }

    int run() {
        try {
            for (const CollectedFile& file : files_) {
                context_.throwIfCancelled();
                const FileEnding ending = file.error ? FileEnding{.error = *file.error} : compressed(file);
                progress_.count(ending);
                reporter_->end(file, ending);
            }
        } catch (const Cancelled&) {
            reporter_->finish(progress_);
            throw;
        }
        reporter_->finish(progress_);
        return progress_.failed == 0 ? ExitStatus::success : ExitStatus::failure;
    }

private:
    FileEnding compressed(const CollectedFile& file) {
        reporter_->begin(file, progress_);
        try {
            return {.result = engine_.compress(file.url, session_)};
        } catch (const Cancelled&) {
            throw;
        } catch (const std::exception& error) {
            return {.error = errorDescription(error)};
        }
    }

    const CommandContext& context_;
    std::vector<CollectedFile> files_;
    CompressionEngine engine_;
    std::unique_ptr<CompressReporter> reporter_;
    BatchProgress progress_;
    UUID session_ = UUID::random();
};

} // namespace

int runCompress(const CommandContext& context, const std::vector<std::string>& paths) {
    // All before the first is compressed: a PNG made from a HEIC file must not be found by the walk.
    return Batch(context, collectFiles(paths, context.cancellation)).run();
}

} // namespace tarnwick
