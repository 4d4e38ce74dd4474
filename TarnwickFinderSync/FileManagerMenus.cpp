#include "TarnwickFinderSync/FileManagerMenus.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "TarnwickFinderSync/CreatedItems.h"
#include "TarnwickFinderSync/FileMenuEntry.h"
#include "TarnwickFinderSync/MenuFile.h"
#include "TarnwickFinderSync/PluginLookup.h"
#include "TarnwickFinderSync/ThunarMenuEntry.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

namespace tarnwick {
namespace {

using FileManager = FileManagerMenus::FileManager;

struct Description {
    std::string name;
    std::vector<std::string> programs;
};

Description description(FileManager fileManager) {
    switch (fileManager) {
    case FileManager::nautilus:
        return {"Nautilus（文件）", {"nautilus"}};
    case FileManager::nemo:
        return {"Nemo", {"nemo"}};
    case FileManager::caja:
        return {"Caja", {"caja"}};
    case FileManager::thunar:
        return {"Thunar", {"thunar", "Thunar"}};
    case FileManager::dolphin:
        return {"Dolphin", {"dolphin"}};
    }
    return {};
}

bool isInstalled(FileManager fileManager, const UserDirectories& directories) {
    const auto programs = description(fileManager).programs;
    return std::any_of(programs.begin(), programs.end(), [&](const std::string& program) {
        return hasProgram(program, directories.executables);
    });
}

/// The formats of the entries are text: a line break would end the line that holds the path.
void requirePathFitsEntries(const URL& application, FileManager fileManager) {
    const std::string& path = application.path();
    if (displayText(path) != path) {
        throw CompressionError::fileOperation("程序的路径含有控制字符或不是 UTF-8：" + displayText(path));
    }
    if (fileManager == FileManager::nemo && path.find('%') != std::string::npos) {
        throw CompressionError::fileOperation("Nemo 无法启动路径中含有“%”的程序：" + path);
    }
}

/// Makes the entries. Lives for one call of FileManagerMenus.
class Entries {
public:
    Entries(const URL& application, const UserDirectories& directories)
        : application_(application), directories_(directories), created_(listOfCreatedItems(directories)) {}

    std::unique_ptr<MenuEntry> entry(FileManager fileManager) {
        if (fileManager == FileManager::thunar) {
            return std::make_unique<ThunarMenuEntry>(application_.path(), directories_, created_);
        }
        return std::make_unique<FileMenuEntry>(menuFiles(fileManager, application_.path(), directories_),
                                               created_);
    }

    void write(FileManager fileManager) {
        requirePathFitsEntries(application_, fileManager);
        entry(fileManager)->write();
    }

    static URL folder(const UserDirectories& directories) { return directories.data.appending("Tarnwick"); }

private:
    static URL listOfCreatedItems(const UserDirectories& directories) {
        return folder(directories).appending("FileManagerMenus.json");
    }

    const URL& application_;
    const UserDirectories& directories_;
    CreatedItems created_;
};

/// Calls `work` for every file manager, then throws one error with a line for each failure.
void forEachFileManager(const std::function<void(FileManager)>& work) {
    std::string failures;
    for (const FileManager fileManager : FileManagerMenus::allFileManagers) {
        try {
            work(fileManager);
        } catch (const std::exception& error) {
            failures += failures.empty() ? "" : "\n";
            failures += name(fileManager) + "：" + errorDescription(error);
        }
    }
    if (!failures.empty()) {
        throw CompressionError::fileOperation(failures);
    }
}

/// False where the entry cannot be read: the file manager cannot read it either.
bool isEnabled(const MenuEntry& entry) {
    try {
        return entry.isCurrent();
    } catch (const CompressionError&) {
        return false;
    } catch (const FileSystemError&) {
        return false;
    }
}

} // namespace

FileManagerMenus::FileManagerMenus(URL application, UserDirectories directories)
    : application_(std::move(application)), directories_(std::move(directories)) {}

std::vector<FileManagerMenus::State> FileManagerMenus::states() const {
    Entries entries(application_, directories_);
    std::vector<State> states;
    states.reserve(allFileManagers.size());
    for (const FileManager fileManager : allFileManagers) {
        states.push_back(
            {fileManager, isInstalled(fileManager, directories_), isEnabled(*entries.entry(fileManager))});
    }
    return states;
}

void FileManagerMenus::setEnabled(FileManager fileManager, bool isEnabled) const {
    const auto lock = FileLock::acquireFolder(Entries::folder(directories_));
    Entries entries(application_, directories_);
    if (isEnabled) {
        entries.write(fileManager);
    } else {
        entries.entry(fileManager)->remove();
    }
}

void FileManagerMenus::enableInstalled() const {
    const auto lock = FileLock::acquireFolder(Entries::folder(directories_));
    Entries entries(application_, directories_);
    forEachFileManager([&](FileManager fileManager) {
        if (isInstalled(fileManager, directories_)) {
            entries.write(fileManager);
        }
    });
}

void FileManagerMenus::disableAll() const {
    const auto lock = FileLock::acquireFolder(Entries::folder(directories_));
    Entries entries(application_, directories_);
    forEachFileManager([&](FileManager fileManager) { entries.entry(fileManager)->remove(); });
}

void FileManagerMenus::refresh() const {
    const auto lock = FileLock::acquireFolder(Entries::folder(directories_));
    Entries entries(application_, directories_);
    forEachFileManager([&](FileManager fileManager) {
        if (entries.entry(fileManager)->exists()) {
            entries.write(fileManager);
        }
    });
}

std::string name(FileManagerMenus::FileManager fileManager) {
    return description(fileManager).name;
}

} // namespace tarnwick
