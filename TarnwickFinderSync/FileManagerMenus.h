#pragma once

#include "Foundation/URL.h"
#include "TarnwickFinderSync/UserDirectories.h"

#include <array>
#include <string>
#include <vector>

namespace tarnwick {

/// The entry "用 Tarnwick 压缩" in the context menus of the file managers. It starts the application with the
/// selected pictures. Entries are files in the user's own folders. A mark in the text identifies our entries:
/// only these are changed or removed, together with the folders that were created for them.
///
/// Thunar shows a change only after it is restarted, and so do Nautilus and Caja where they load extensions
/// in Python.
///
/// Calls read and write small files and may block. Safe from any thread and from several processes at a time.
class FileManagerMenus {
public:
    enum class FileManager { nautilus, nemo, caja, thunar, dolphin };
    static constexpr std::array allFileManagers = {FileManager::nautilus, FileManager::nemo,
                                                   FileManager::caja, FileManager::thunar,
                                                   FileManager::dolphin};

    struct State {
        FileManager fileManager;
        /// The file manager's program is on this machine.
        bool isInstalled;
        /// The entry is where this file manager reads it, and starts this application.
        bool isEnabled;
    };

    /// `application` is the executable that the entries start.
    FileManagerMenus(URL application, UserDirectories directories);

    /// The states of all file managers, in the order of allFileManagers. An entry that cannot be read is not
    /// enabled.
    std::vector<State> states() const;

    /// Writes or removes one entry, also where the file manager isn't installed. Does nothing when the entry
    /// is already in that state. Throws CompressionError or FileSystemError. Refuses to write where a file of
    /// the user has the entry's name, where Thunar's file is damaged, and where the application's path cannot
    /// be written in the entry (control characters, invalid UTF-8, for Nemo "%").
    void setEnabled(FileManager fileManager, bool isEnabled) const;

    /// Writes the entries of the installed file managers. Continues after a failure, and throws
    /// CompressionError at the end, with a line for each file manager that failed.
    void enableInstalled() const;
    /// Removes the entries of all file managers. Failures as in enableInstalled().
    void disableAll() const;
    /// Updates the entries that exist, for example after the application was moved. Failures as in
    /// enableInstalled().
    void refresh() const;

private:
    URL application_;
    UserDirectories directories_;
};

/// The name to show to the user, for example "Nautilus（文件）".
std::string name(FileManagerMenus::FileManager fileManager);

} // namespace tarnwick
