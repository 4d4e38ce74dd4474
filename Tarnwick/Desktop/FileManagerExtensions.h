#pragma once

#include <QString>
#include <vector>

namespace tarnwick {

/// The program's entries in the context menus of file managers.
class FileManagerExtensions {
public:
    struct State {
        /// For people; no two have the same.
        QString name;
        bool isEnabled = false;
    };

    FileManagerExtensions() = default;
    FileManagerExtensions(const FileManagerExtensions&) = delete;
    FileManagerExtensions& operator=(const FileManagerExtensions&) = delete;
    virtual ~FileManagerExtensions() = default;

    /// Those of the file managers that are on this machine, always in the same order. Both functions touch
    /// the disk and throw when that fails; they are called on background threads, one at a time.
    virtual std::vector<State> states() const = 0;
    /// Does nothing for a file manager that is not known.
    virtual void setEnabled(const QString& name, bool isEnabled) = 0;
};

} // namespace tarnwick
