#pragma once

#include "Foundation/URL.h"
#include "TarnwickFinderSync/UserDirectories.h"

#include <array>
#include <string>
#include <vector>

namespace tarnwick {

/// The entry "用 Tarnwick 压缩" in the context menus of the file managers, which starts the application with
/// the selected pictures. Entries are files in the user's own folders. An entry is known as ours by a mark in
/// it, and only such are ever changed or removed, with those of the folders around it that were made for it.
///
/// A file manager that is running may show the change only when it is started again: Thunar does, and
/// Nautilus and Caja where they load extensions in Python.
///
/// Calls read and write small files and may block on them; any thread, and several processes at a time.
class FileManagerMenus {
public:
    enum class FileManager { nautilus, nemo, caja, thunar, dolphin };
    static constexpr std::array allFileManagers = {FileManager::nautilus, FileManager::nemo,
                                                   FileManager::caja, FileManager::thunar,
                                                   FileManager::dolphin};

    struct State {
        FileManager fileManager;
        /// The program is on this machine.
        bool isInstalled;
        /// The entry stands where this file manager reads it, and starts this application.
        bool isEnabled;
    };

    /// The entries start `application`, an executable.
    FileManagerMenus(URL application, UserDirectories directories);

    /// Of all file managers, in their fixed order. What cannot be read is not enabled.
    std::vector<State> states() const;

    /// Writes or removes one entry, also where the file manager isn't installed; changes nothing when that is
    /// already done. Throws CompressionError or FileSystemError: also where a file of the user's has the
    /// entry's name, the file to add to is damaged, or the application's path is one that not every menu can
    /// name (control characters, or not UTF-8).
    void setEnabled(FileManager fileManager, bool isEnabled) const;

    /// Writes the entries of the installed file managers. One that fails doesn't keep the others from it;
    /// then CompressionError is thrown, with a line for each that failed.
    void enableInstalled() const;
    /// Removes the entries of all file managers, in the same way.
    void disableAll() const;
    /// Writes those anew that stand there but are not up to date, as when the application was moved; in the
    /// same way.
    void refresh() const;

private:
    URL application_;
    UserDirectories directories_;
};

/// The name for people, for example "Nautilus（文件）".
std::string name(FileManagerMenus::FileManager fileManager);

} // namespace tarnwick
