#include "TarnwickFinderSync/PluginLookup.h"

#include "Foundation/Directory.h"
#include "Foundation/FileSystemError.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace tarnwick {
namespace {

/// The entries of a folder. Empty for a folder that cannot be read: the file manager cannot read it either.
std::vector<URL> visibleEntries(const URL& folder) {
    try {
        return entries(folder);
    } catch (const FileSystemError&) {
        return {};
    }
}

bool isExecutableFile(const URL& url) {
    struct stat status {};
    return ::stat(url.c_str(), &status) == 0 && S_ISREG(status.st_mode) && ::access(url.c_str(), X_OK) == 0;
}

bool exists(const URL& url) {
    return ::access(url.c_str(), F_OK) == 0;
}

/// `library` is "/usr/lib", or its subfolder for one architecture.
bool holdsPlugin(const URL& library, const std::string& fileManager) {
    const auto versions = visibleEntries(library.appending(fileManager));
    return std::any_of(versions.begin(), versions.end(), [&](const URL& version) {
        return version.lastPathComponent().starts_with("extensions-") &&
               exists(version.appending("lib" + fileManager + "-python.so"));
    });
}

} // namespace

bool hasProgram(const std::string& name, const std::vector<URL>& folders) {
    return std::any_of(folders.begin(), folders.end(),
                       [&](const URL& folder) { return isExecutableFile(folder.appending(name)); });
}

bool hasPythonPlugin(const std::string& fileManager, const std::vector<URL>& libraries) {
    return std::any_of(libraries.begin(), libraries.end(), [&](const URL& library) {
        const auto folders = visibleEntries(library);
        return holdsPlugin(library, fileManager) ||
               std::any_of(folders.begin(), folders.end(), [&](const URL& folder) {
                   return folder.lastPathComponent().find("-linux-") != std::string::npos &&
                          holdsPlugin(folder, fileManager);
               });
    });
}

} // namespace tarnwick
