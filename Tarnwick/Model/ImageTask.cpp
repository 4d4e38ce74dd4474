#include "Tarnwick/Model/ImageTask.h"

#include "Foundation/Text.h"
#include "Wording/RowText.h"

namespace tarnwick {
namespace {

constexpr auto busy = "正在处理这张图片，请稍候";

/// Restoring and comparing need the backup. `unchanged` is the text for a file that has none because it was
/// not changed.
std::string refusalWithoutBackup(const ImageTask& task, const char* unchanged) {
    if (task.status.isActive()) {
        return busy;
    }
    if (task.status == TaskStatus::Restored) {
        return "原图已恢复";
    }
    if (task.record() == nullptr) {
        return unchanged;
    }
    return task.backupAvailable ? "" : "原图备份已过期或已不存在";
}

} // namespace

ImageTask ImageTask::imported(const URL& url) {
    return {.url = url, .thumbnailURL = url};
}

ImageTask ImageTask::fromHistory(const UndoRecord& record, bool backupAvailable) {
    const bool isConverted = record.convertedPath.has_value();
    const URL file = record.replacementURL();
    return {.url = file,
            .thumbnailURL = file,
            .status = TaskStatus::Done,
            .result = CompressionResult{.url = file,
                                        .originalBytes = record.originalBytes,
                                        .finalBytes = record.replacementBytes,
                                        .outcome = isConverted ? CompressionOutcome::converted
                                                               : CompressionOutcome::replaced,
                                        .encoder = isConverted ? "HEIC → PNG · 历史记录" : "历史记录",
                                        .qualityScore = std::nullopt,
                                        .undoRecord = record},
            .backupAvailable = backupAvailable};
}

const UndoRecord* ImageTask::record() const noexcept {
    return result && result->undoRecord ? &*result->undoRecord : nullptr;
}

std::string ImageTask::displayName() const {
    return displayText(url.lastPathComponent());
}

std::string ImageTask::statusText() const {
    switch (status) {
    case TaskStatus::Waiting:
        return std::string(RowText::waiting);
    case TaskStatus::Compressing:
        return std::string(RowText::compressing);
    case TaskStatus::Restoring:
        return std::string(RowText::restoring);
    case TaskStatus::Deleting:
        return std::string(RowText::deleting);
    case TaskStatus::Done:
        return result ? RowText::finished(*result) : std::string(RowText::done);
    case TaskStatus::Skipped:
        return std::string(RowText::skipped);
    case TaskStatus::Restored:
        return std::string(RowText::restored);
    case TaskStatus::Failed:
        break;
    }
    return RowText::failed(displayText(status.message()));
}

std::string ImageTask::badgeText() const {
    const bool isFinished = status == TaskStatus::Done || status == TaskStatus::Skipped;
    return isFinished && result ? RowText::badge(*result).value_or("") : "";
}

std::string ImageTask::refusalToRestore() const {
    return refusalWithoutBackup(*this, "图片未被修改，无需恢复");
}

std::string ImageTask::refusalToCompare() const {
    return refusalWithoutBackup(*this, "图片未被修改，无需对比");
}

std::string ImageTask::refusalToDelete() const {
    return status.isActive() ? busy : "";
}

} // namespace tarnwick
