#include "Engine/Replacement.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileCopy.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileVersion.h"
#include "Foundation/GuardedFile.h"
#include "Foundation/WorkRegister.h"
#include "History/Restoring.h"

#include <exception>

namespace tarnwick {
namespace {

void putBackupBack(const UndoStore& undo, const UndoRecord& record, const Original& original) {
    const URL folder = original.url.deletingLastPathComponent();
    const NotedFile copy(folder, WorkItem::rolledBackFile);
    copyFile(undo.backupURL(record), copy.url());
    guardedReplacement(record).replace(copy.url(), original.hash);
}

/// Undoes an incomplete replacement. When the file cannot be read or the original cannot be put back, the
/// record and its backup stay: they may be the last copy of the picture.
void rollBack(const UndoStore& undo, const UndoRecord& record, const Original& original) noexcept {
    try {
        if (hash(original.url) == record.replacementHash) {
            putBackupBack(undo, record, original);
        }
        undo.deleteRecord(record);
    } catch (const std::exception&) {
        return;
    }
}

/// A file of another user, in a folder that this user may write, must not change its owner.
void requireSameOwner(const URL& original, const URL& winner) {
    if (statusOf(original).st_uid != statusOf(winner).st_uid) {
        throw CompressionError::fileOperation("文件属于其他用户，替换后无法保留其所有者");
    }
}

void verifyReplacement(const Original& original, const Candidate& winner, const UndoRecord& record) {
    const ImageFacts facts = ImageFacts::inspect(original.url);
    if (!original.facts.compatible(facts, winner.allowsSRGBConversion) ||
        hash(original.url) != record.replacementHash) {
        throw CompressionError::validationFailed();
    }
}

} // namespace

UndoRecord replaceOriginal(const UndoStore& undo, const Original& original, const Candidate& winner,
                           const UUID& sessionID) {
    requireUnchanged(original);
    const UndoRecord record = undo.prepare(original.url, winner.url, sessionID);
    try {
        const FileVersion version = FileVersion::of(original.url);
        copyFileAttributes(original.url, winner.url);
        requireSameOwner(original.url, winner.url);
        const GuardedFile file(original.url, record.exchangeURL(), [&](const URL& url) {
            return FileVersion::of(url) == version && isUnchanged(original, url);
        });
        if (!file.replace(winner.url, record.replacementHash)) {
            throw CompressionError::changedDuringCompression();
        }
        nudgeWatchers(original.url);
        verifyReplacement(original, winner, record);
        return undo.commit(record);
    } catch (...) {
        rollBack(undo, record, original);
        throw;
    }
}

} // namespace tarnwick
