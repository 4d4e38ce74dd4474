#include "Engine/Replacement.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileCopy.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/FileVersion.h"
#include "Foundation/WorkRegister.h"

#include <exception>

namespace tarnwick {
namespace {

void putBackupBack(const UndoStore& undo, const UndoRecord& record, const Original& original) {
    const URL folder = original.url.deletingLastPathComponent();
    const NotedFile copy(folder, WorkItem::rolledBackFile);
    copyFile(undo.backupURL(record), copy.url());
    if (hash(copy.url()) != original.hash) {
        throw CompressionError::validationFailed();
    }
    atomicRename(copy.url(), original.url);
    syncDirectory(folder);
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
        requireUnchanged(original);
        copyFileAttributes(original.url, winner.url);
        syncFile(winner.url);
        // After the rename, a winner with another hash would look like another program's file.
        if (hash(winner.url) != record.replacementHash) {
            throw CompressionError::validationFailed();
        }
        // Flushing the winner takes time: this detects a write to the original meanwhile.
        if (FileVersion::of(original.url) != version) {
            throw CompressionError::changedDuringCompression();
        }
        atomicRename(winner.url, original.url);
        syncDirectory(original.url.deletingLastPathComponent());
        nudgeWatchers(original.url);
        verifyReplacement(original, winner, record);
        return undo.commit(record);
    } catch (...) {
        rollBack(undo, record, original);
        throw;
    }
}

} // namespace tarnwick
