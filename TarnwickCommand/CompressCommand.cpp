#include "TarnwickCommand/CompressCommand.h"

#include "Engine/CompressionEngine.h"
#include "Foundation/CompressionError.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "TarnwickCommand/Arguments.h"
#include "TarnwickCommand/Collecting.h"
#include "TarnwickCommand/CompressReporter.h"
#include "TarnwickCommand/QueuedWork.h"

#include <exception>
#include <optional>

namespace tarnwick {
namespace {

CompressionEngine engineFor(const CommandContext& context, const Cancellation& cancellation) {
    constexpr QualityThresholds thresholds;
    return {context.toolDirectory, context.undo,   thresholds.jpeg,
            thresholds.png,        thresholds.gif, cancellation};
}

class Batch {
public:
    Batch(const CommandContext& context, std::vector<CollectedFile> files)
        : files_(std::move(files)), work_(context.cancellation),
          engine_(engineFor(context, work_.cancellation())),
          reporter_(makeCompressReporter(context.output, context.json, files_)),
          backupKeeper_(context.backupKeeper) {
        progress_.total = files_.size();
    }

    int run() {
        for (const CollectedFile& file : files_) {
            file.error ? finish(file, {.error = *file.error}) : add(file);
        }
        work_.run();
        reporter_->finish(progress_);
        if (work_.cancellation().isRequested()) {
            throw Cancelled();
        }
        return progress_.failed == 0 ? ExitStatus::success : ExitStatus::failure;
    }

private:
    void add(const CollectedFile& file) {
        auto begins = [this, &file] { work_.post([this, &file] { reporter_->begin(file, progress_); }); };
        auto compress = [this, &file] { return std::optional(engine_.compress(file.url, session_)); };
        work_.add(file.url, begins, compress,
                  [this, &file](const std::exception_ptr& error, std::optional<CompressionResult> result) {
                      if (!error) {
                          finish(file, {.result = std::move(result)});
                      } else if (!isStopped(error)) {
                          finish(file, {.error = errorDescription(error)});
                      }
                  });
    }

    void finish(const CollectedFile& file, const FileOutcome& outcome) {
        progress_.count(outcome);
        reporter_->end(file, outcome, progress_);
        if (outcome.result && outcome.result->undoRecord) {
            postNotification(NotificationName::historyDidChange);
            if (backupKeeper_ != nullptr) {
                backupKeeper_->launch();
            }
        }
    }

    const std::vector<CollectedFile> files_;
    QueuedWork work_;
    const CompressionEngine engine_;
    const std::unique_ptr<CompressReporter> reporter_;
    HelperLauncher* const backupKeeper_;
    BatchProgress progress_;
    const UUID session_ = UUID::random();
};

} // namespace

int runCompress(const CommandContext& context, const std::vector<std::string>& paths) {
    // Collects all files first: the walk must not find a PNG that was converted from a HEIC file.
    return Batch(context, collectFiles(paths, context.cancellation)).run();
}

} // namespace tarnwick
