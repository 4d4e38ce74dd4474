#pragma once

#include "Foundation/GuardedFile.h"
#include "History/RecordStore.h"

#include <string>

namespace tarnwick {

/// Verifies that the backup is the complete original, and returns its SHA-256. Throws
/// CompressionError::fileOperation.
std::string verifyBackup(const RecordStore& store, const UndoRecord& record);

bool hasSoundBackup(const RecordStore& store, const UndoRecord& record);
/// Whether `url` is a regular file with the recorded bytes. False when it cannot be read.
bool holdsOriginal(const UndoRecord& record, const URL& url);
bool holdsReplacement(const UndoRecord& record, const URL& url);

/// The compressed or converted file, as long as no other program changes it. Throws FileSystemError.
GuardedFile guardedReplacement(const UndoRecord& record);

/// A process that was killed while it replaced or removed a file may have left the displaced file under the
/// record's exchangeURL(). Puts what another program wrote back in its place, and removes the rest. Returns
/// false when that place is taken by yet another file: then the displaced file stays. Throws CompressionError
/// or FileSystemError.
bool returnDisplacedFile(const RecordStore& store, const UndoRecord& record);

/// Deletes the record, but not while a displaced file is left, of which nothing else would tell. Throws
/// CompressionError::fileOperation when that cannot be returned, or FileSystemError.
void forgetRecord(const RecordStore& store, const UndoRecord& record);

/// Puts the original back, removes the converted file if there is one, and deletes the record. A user's file
/// that is not the recorded replacement is never touched: CompressionError::unsafeRestore. A backup that is
/// `retention` seconds old is removed instead. Also throws CompressionError::fileOperation (expired, missing
/// or damaged backup), validationFailed, FileSystemError.
void restoreOriginal(const RecordStore& store, const UndoRecord& record, double retention);

} // namespace tarnwick
