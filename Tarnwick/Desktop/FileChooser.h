#pragma once

#include <QList>
#include <QStringList>
#include <QUrl>
#include <functional>

namespace tarnwick {

/// Lets the user choose files.
class FileChooser {
public:
    /// Receives the chosen files; none when the user gave up.
    using Callback = std::function<void(const QList<QUrl>&)>;

    FileChooser() = default;
    FileChooser(const FileChooser&) = delete;
    FileChooser& operator=(const FileChooser&) = delete;
    virtual ~FileChooser() = default;

    /// Opens a dialog for one or more files, no folders, and returns. `nameFilters` are of the kind "图片
    /// (*.png *.PNG)". `callback` is called exactly once, on the main thread. Not to be called while a
    /// dialog is open.
    virtual void open(const QStringList& nameFilters, Callback callback) = 0;
};

} // namespace tarnwick
