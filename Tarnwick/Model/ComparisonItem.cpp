#include "Tarnwick/Model/ComparisonItem.h"

#include "Tarnwick/QtSupport/QtConversions.h"
#include "Wording/RowText.h"

namespace tarnwick {

QString ComparisonItem::originalSizeText() const {
    return toQString(RowText::byteCount(originalBytes));
}

QString ComparisonItem::compressedSizeText() const {
    return toQString(RowText::byteCount(compressedBytes));
}

QString ComparisonItem::badgeText() const {
    return toQString(RowText::badge(originalBytes, compressedBytes));
}

} // namespace tarnwick
