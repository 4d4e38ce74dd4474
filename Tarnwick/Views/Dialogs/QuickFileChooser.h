#pragma once

#include "Tarnwick/Desktop/Dialogs.h"

#include <QtQml/qqmlregistration.h>

#include <QList>
#include <QObject>
#include <QStringList>
#include <QUrl>

namespace tarnwick {

/// The window's file chooser. QML shows a dialog at openRequested() and answers with finish().
class QuickFileChooser : public QObject, public FileChooser {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window is given one.")
    Q_PROPERTY(QStringList nameFilters READ nameFilters NOTIFY openRequested FINAL)

public:
    using QObject::QObject;

    void open(const QStringList& nameFilters, Callback callback) override;
    const QStringList& nameFilters() const noexcept { return nameFilters_; }

    /// `urls` is empty when the user cancelled.
    Q_INVOKABLE void finish(const QList<QUrl>& urls);

signals:
    void openRequested();

private:
    QStringList nameFilters_;
    Callback callback_;
};

} // namespace tarnwick
