#include "Tarnwick/Model/ComparisonPreparation.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "Foundation/Text.h"
#include "Inspection/ImageFacts.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <utility>

namespace tarnwick {
namespace {

constexpr std::int64_t firstOrientationOnItsSide = 5;

void requireUnchanged(const URL& file, const UndoRecord& record) {
    if (hash(file) != record.replacementHash) {
        throw CompressionError::fileOperation("压缩后的图片已被修改");
    }
}

} // namespace

ComparisonItem prepareComparison(const UndoStore& store, const UndoRecord& record, Date now) {
    // The backup may still exist: the clean-up runs a little later.
    if (now >= record.createdAt.adding(UndoStore::backupRetention)) {
        throw CompressionError::fileOperation("原图备份已过期，无法对比。");
    }
    const std::string originalHash = store.verifyBackup(record);
    const URL file = record.replacementURL();
    requireUnchanged(file, record);
    const ImageFacts facts = ImageFacts::inspect(file);
    ComparisonItem item = {.name = toQString(displayText(file.lastPathComponent())),
                           .original = toQUrl(store.backupURL(record)),
                           .compressed = toQUrl(file),
                           .originalBytes = record.originalBytes,
                           .compressedBytes = record.replacementBytes,
                           .width = static_cast<int>(facts.width),
                           .height = static_cast<int>(facts.height),
                           .originalHash = toQString(originalHash),
                           .replacementHash = toQString(record.replacementHash)};
    if (facts.orientation >= firstOrientationOnItsSide) {
        std::swap(item.width, item.height);
    }
    return item;
}

} // namespace tarnwick
