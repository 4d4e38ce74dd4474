#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>

namespace tarnwick {

/// A question to the user with two answers.
struct Alert {
    QString message;
    QString informativeText;
    QString firstButton;
    QString secondButton;
};

/// Shows modal alerts.
class AlertPresenter {
public:
    using Answer = std::function<void(bool isFirstButton)>;

    AlertPresenter() = default;
    AlertPresenter(const AlertPresenter&) = delete;
    AlertPresenter& operator=(const AlertPresenter&) = delete;
    virtual ~AlertPresenter() = default;

    /// Shows the alert, after those shown before were answered, and returns. `answer` is called once, on the
    /// main thread. Closing the alert in another way counts as the second button.
    virtual void show(const Alert& alert, Answer answer) = 0;
};

/// Lets the user choose files.
class FileChooser {
public:
    /// Receives the chosen files; none when the user cancelled.
    using Callback = std::function<void(const QList<QUrl>&)>;

    FileChooser() = default;
    FileChooser(const FileChooser&) = delete;
    FileChooser& operator=(const FileChooser&) = delete;
    virtual ~FileChooser() = default;

    /// Opens a dialog for one or more files, no folders, and returns. `nameFilters` have the form "图片
    /// (*.png
    /// *.PNG)". `callback` is called exactly once, on the main thread. Must not be called while a dialog is
    /// open.
    virtual void open(const QStringList& nameFilters, Callback callback) = 0;
};

} // namespace tarnwick
