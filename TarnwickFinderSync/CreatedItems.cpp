#include "TarnwickFinderSync/CreatedItems.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tarnwick {
namespace {

std::set<std::string> parsed(const std::string& text, const URL& file) {
    try {
        return nlohmann::json::parse(text).at("created").get<std::set<std::string>>();
    } catch (const nlohmann::json::exception&) {
        throw CompressionError::fileOperation("文件“" + displayText(file.path()) + "”已损坏，请将其删除");
    }
}

} // namespace

CreatedItems::CreatedItems(URL file) : file_(std::move(file)) {}

void CreatedItems::createDirectories(const URL& folder) {
    // A folder that was created but is not in the list would never be removed.
    for (URL item = folder; item.path() != "/" && !itemExists(item);
         item = item.deletingLastPathComponent()) {
        add(item);
    }
    tarnwick::createDirectories(folder, 0755);
}

void CreatedItems::removeEmptyDirectories(const URL& folder) {
    for (URL item = folder; contains(item); item = item.deletingLastPathComponent()) {
        if (::rmdir(item.c_str()) != 0 && errno != ENOENT) {
            if (errno == ENOTEMPTY || errno == EEXIST) {
                return;
            }
            throw FileSystemError("无法删除文件夹", item, errno);
        }
        forget(item);
    }
}

void CreatedItems::add(const URL& item) {
    if (paths().insert(portablePathText(item)).second) {
        save();
    }
}

void CreatedItems::forget(const URL& item) {
    if (paths().erase(portablePathText(item)) > 0) {
        save();
    }
}

bool CreatedItems::contains(const URL& item) {
    return paths().contains(portablePathText(item));
}

std::set<std::string>& CreatedItems::paths() {
    if (!paths_) {
        const auto text = readIfPresent(file_);
        paths_ = text ? parsed(*text, file_) : std::set<std::string>();
    }
    return *paths_;
}

void CreatedItems::save() {
    if (paths().empty()) {
        removeFile(file_);
    } else {
        writeFileAtomically(resolvingLinks(file_),
                            bytesOf(nlohmann::json{{"created", paths()}}.dump(1) + "\n"), 0600);
    }
}

} // namespace tarnwick
