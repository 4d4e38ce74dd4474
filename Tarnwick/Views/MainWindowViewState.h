#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QString>

namespace tarnwick {

/// What the window shows that is not part of the model, and what the user asks of the application there.
/// Lives on the main thread.
class MainWindowViewState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("MainWindow has one.")
    /// The `taskId` of the row whose comparison is open; empty when none is.
    Q_PROPERTY(QString comparedTask MEMBER comparedTask_ NOTIFY comparedTaskChanged FINAL)
    /// The index of the row with the keyboard focus; -1 when there is none.
    Q_PROPERTY(int currentRow MEMBER currentRow_ NOTIFY currentRowChanged FINAL)
    Q_PROPERTY(bool showsAbout MEMBER showsAbout_ NOTIFY showsAboutChanged FINAL)

public:
    using QObject::QObject;

signals:
    void comparedTaskChanged();
    void currentRowChanged();
    void showsAboutChanged();
    /// The user wants the entries in the file managers' menus enabled.
    void finderEnableRequested();
    /// The user closed the window, which stays until the application ends.
    void closeRequested();

private:
    QString comparedTask_;
    int currentRow_ = -1;
    bool showsAbout_ = false;
};

} // namespace tarnwick
