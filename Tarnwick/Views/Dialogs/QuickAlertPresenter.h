#pragma once

#include "Tarnwick/Desktop/Dialogs.h"

#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QString>
#include <deque>
#include <utility>

namespace tarnwick {

/// The window's alerts. QML shows an alert while `isOpen` is true, answers with finish(), and says with
/// dialogClosed() when the alert has left the screen: only then does the next one appear, so that nobody
/// answers a question that took another one's place.
class QuickAlertPresenter : public QObject, public AlertPresenter {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window is given one.")
    /// While other dialogs are on screen, no alert appears.
    Q_PROPERTY(bool isHeld READ isHeld WRITE setHeld FINAL)
    Q_PROPERTY(bool isOpen READ isOpen NOTIFY changed FINAL)
    Q_PROPERTY(QString message READ message NOTIFY changed FINAL)
    Q_PROPERTY(QString informativeText READ informativeText NOTIFY changed FINAL)
    Q_PROPERTY(QString firstButton READ firstButton NOTIFY changed FINAL)
    Q_PROPERTY(QString secondButton READ secondButton NOTIFY changed FINAL)

public:
    using QObject::QObject;

    void show(const Alert& alert, Answer answer) override;

    bool isHeld() const noexcept { return isHeld_; }
    void setHeld(bool isHeld);
    bool isOpen() const noexcept { return answer_ != nullptr; }
    /// The texts of the open alert, or of the last one.
    const QString& message() const noexcept { return alert_.message; }
    const QString& informativeText() const noexcept { return alert_.informativeText; }
    const QString& firstButton() const noexcept { return alert_.firstButton; }
    const QString& secondButton() const noexcept { return alert_.secondButton; }

    /// Reports the user's answer. Does nothing when no alert is open.
    Q_INVOKABLE void finish(bool isFirstButton);
    Q_INVOKABLE void dialogClosed();

signals:
    void changed();

private:
    void showNext();

    std::deque<std::pair<Alert, Answer>> waiting_;
    bool isHeld_ = false;
    bool isOnScreen_ = false;
    Alert alert_;
    Answer answer_;
};

} // namespace tarnwick
