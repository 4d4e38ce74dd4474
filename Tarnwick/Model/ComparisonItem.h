#pragma once

#include <QObject>
#include <QString>
#include <QUrl>

namespace tarnwick {

/// A compressed picture and its original, for the comparison view.
struct ComparisonItem {
    Q_GADGET
    Q_PROPERTY(QString name MEMBER name CONSTANT)
    Q_PROPERTY(QUrl original MEMBER original CONSTANT)
    Q_PROPERTY(QUrl compressed MEMBER compressed CONSTANT)
    Q_PROPERTY(qint64 originalBytes MEMBER originalBytes CONSTANT)
    Q_PROPERTY(qint64 compressedBytes MEMBER compressedBytes CONSTANT)
    Q_PROPERTY(int width MEMBER width CONSTANT)
    Q_PROPERTY(int height MEMBER height CONSTANT)
    Q_PROPERTY(QString originalHash MEMBER originalHash CONSTANT)
    Q_PROPERTY(QString replacementHash MEMBER replacementHash CONSTANT)
    Q_PROPERTY(QString originalSizeText READ originalSizeText CONSTANT)
    Q_PROPERTY(QString compressedSizeText READ compressedSizeText CONSTANT)
    Q_PROPERTY(QString badgeText READ badgeText CONSTANT)

public:
    QString name;
    /// The backup.
    QUrl original;
    /// The user's current file.
    QUrl compressed;
    qint64 originalBytes = 0;
    qint64 compressedBytes = 0;
    /// Pixels, with the orientation applied.
    int width = 0;
    int height = 0;
    /// SHA-256 of both files; the view shows only images decoded from files with these hashes.
    QString originalHash;
    QString replacementHash;

    /// "547 KB"
    QString originalSizeText() const;
    QString compressedSizeText() const;
    /// "↓ 47%" or "已转换"
    QString badgeText() const;

    friend bool operator==(const ComparisonItem&, const ComparisonItem&) = default;
};

} // namespace tarnwick
