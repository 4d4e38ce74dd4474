#include "TarnwickCommand/CompressCommand.h"

#include "Engine/CompressionEngine.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "History/BackupCleanup.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "TarnwickCommand/Arguments.h"
#include "TarnwickCommand/Collecting.h"
#include "TarnwickCommand/CompressReporter.h"
#include "TarnwickCommand/JSONLine.h"
#include "TarnwickCommand/OwnResults.h"
#include "TarnwickCommand/QueuedWork.h"
#include "Wording/Messages.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <exception>
#include <optional>
#include <utility>

namespace tarnwick {
namespace {

CompressionEngine engineFor(const CommandContext& context) {
    constexpr QualityThresholds thresholds;
    return {context.toolDirectory, context.undo, thresholds.jpeg, thresholds.png, thresholds.gif};
}

/// The sizes of the originals that will be backed up if all files become smaller. A file that is as large as
/// an earlier result most probably is that result, and it is not worth the time to read it now.
std::vector<std::int64_t> sizesOfOriginals(const std::vector<CollectedFile>& files, OwnResults* ownResults) {
    std::vector<std::int64_t> sizes;
    for (const CollectedFile& file : files) {
        if (ownResults == nullptr || !ownResults->hasOneOf(file.bytes)) {
            sizes.push_back(file.bytes);
        }
    }
    return sizes;
}

void tellOfBudget(const CommandContext& context, const std::vector<std::int64_t>& originals) {
    const std::int64_t excess =
        bytesOverBudget(context.undo.backupBytes(Date::now()), originals, UndoStore::backupBudget);
    if (excess == 0) {
        return;
    }
    if (context.json) {
        context.output.writeLine(jsonLine({{"warning", "backupBudget"}, {"bytesOverBudget", excess}}));
    } else {
        printError(Messages::overBudget(excess));
    }
}

class Batch {
public:
    /// `ownResults`, which may be null, are left alone.
    Batch(const CommandContext& context, std::vector<CollectedFile> files, OwnResults* ownResults)
        : files_(std::move(files)), ownResults_(ownResults), work_(context.cancellation),
          engine_(engineFor(context).cancelledBy(work_.cancellation())),
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
        work_.add(
            file.url, begins, [this, url = file.url] { return outcomeOf(url); },
            [this, &file](const std::exception_ptr& error, const FileOutcome& outcome) {
                if (!error) {
                    finish(file, outcome);
                } else if (!isStopped(error)) {
                    finish(file, {.error = errorDescription(error)});
                }
            });
    }

    FileOutcome outcomeOf(const URL& url) const {
        if (ownResults_ == nullptr || !ownResults_->contains(url)) {
            return {.result = engine_.compress(url, session_)};
        }
        const std::int64_t bytes = fileSize(url);
        return {.result = CompressionResult{.url = url, .originalBytes = bytes, .finalBytes = bytes},
                .isOwnResult = true};
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
    OwnResults* const ownResults_;
    QueuedWork work_;
    const CompressionEngine engine_;
    const std::unique_ptr<CompressReporter> reporter_;
    HelperLauncher* const backupKeeper_;
    BatchProgress progress_;
    const UUID session_ = UUID::random();
};

} // namespace

int runCompress(const CommandContext& context, const std::vector<std::string>& paths, bool isAgain) {
    // Collects all files first: the walk must not find a PNG that was converted from a HEIC file.
    std::vector<CollectedFile> files = collectFiles(paths, context.cancellation);
    std::optional<OwnResults> ownResults;
    if (!isAgain) {
        ownResults.emplace(context.undo);
    }
    OwnResults* const leftAlone = ownResults ? &*ownResults : nullptr;
    tellOfBudget(context, sizesOfOriginals(files, leftAlone));
    return Batch(context, std::move(files), leftAlone).run();
}

} // namespace tarnwick
