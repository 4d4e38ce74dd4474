#include "TarnwickFinderSync/FileMenuEntry.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Foundation/Text.h"
#include "TarnwickFinderSync/MenuTexts.h"

#include <algorithm>
#include <string>
#include <utility>

namespace tarnwick {
namespace {

bool isOurs(const std::optional<std::string>& contents) {
    return contents && contents->find(MenuTexts::mark) != std::string::npos;
}

bool isUpToDate(const MenuFile& file) {
    return readIfPresent(file.location) == file.contents &&
           (modeOfFile(file.location, 0) & file.mode) == file.mode;
}

/// The files that Python writes when it loads an extension.
std::vector<URL> compiledExtensions(const URL& extension) {
    const URL folder = extension.deletingLastPathComponent().appending("__pycache__");
    if (extension.pathExtension() != "py" || !isDirectory(folder)) {
        return {};
    }
    std::vector<URL> found = entries(folder);
    std::erase_if(found, [&](const URL& item) {
        return !item.lastPathComponent().starts_with(extension.stem() + ".") || item.pathExtension() != "pyc";
    });
    return found;
}

} // namespace

FileMenuEntry::FileMenuEntry(std::vector<MenuFile> files, CreatedItems& created)
    : files_(std::move(files)), created_(created) {}

bool FileMenuEntry::exists() const {
    return std::any_of(files_.begin(), files_.end(),
                       [](const MenuFile& file) { return isOurs(readIfPresent(file.location)); });
}

bool FileMenuEntry::isCurrent() const {
    return isUpToDate(files_.front());
}

void FileMenuEntry::write() const {
    const MenuFile& wanted = files_.front();
    const auto present = readIfPresent(wanted.location);
    if (present && !isOurs(present)) {
        throw CompressionError::fileOperation("已有同名的其他文件：" + displayText(wanted.location.path()));
    }
    if (!isUpToDate(wanted)) {
        created_.createDirectories(wanted.location.deletingLastPathComponent());
        writeFileAtomically(resolvingLinks(wanted.location), bytesOf(wanted.contents), wanted.mode);
    }
    std::for_each(files_.begin() + 1, files_.end(),
                  [this](const MenuFile& file) { removeOurs(file.location); });
}

void FileMenuEntry::remove() const {
    for (const MenuFile& file : files_) {
        removeOurs(file.location);
    }
}

void FileMenuEntry::removeOurs(const URL& location) const {
    if (!isOurs(readIfPresent(location))) {
        return;
    }
    const auto compiled = compiledExtensions(location);
    for (const URL& item : compiled) {
        created_.add(item.deletingLastPathComponent());
        removeFile(item);
    }
    removeFile(location);
    if (!compiled.empty()) {
        created_.removeEmptyDirectories(compiled.front().deletingLastPathComponent());
    }
    created_.removeEmptyDirectories(location.deletingLastPathComponent());
}

} // namespace tarnwick
