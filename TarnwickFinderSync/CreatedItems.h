#pragma once

#include "Foundation/URL.h"

#include <optional>
#include <set>
#include <string>

namespace tarnwick {

/// The list of folders and files that were created for menu entries. Only these are removed with an entry.
/// Changes are on the disk when a call returns. The caller holds the lock of the folder that `file` is in.
class CreatedItems {
public:
    /// `file` holds the list and is read at the first use. It need not exist, but its folder must exist
    /// before the first change. All calls throw FileSystemError, and CompressionError when the file is
    /// damaged.
    explicit CreatedItems(URL file);

    /// Creates the folder and its missing parents.
    void createDirectories(const URL& folder);
    /// Removes the folder, then its parents, up to the first that is not in the list or not empty.
    void removeEmptyDirectories(const URL& folder);

    void add(const URL& item);
    void forget(const URL& item);
    bool contains(const URL& item);

private:
    std::set<std::string>& paths();
    void save();

    URL file_;
    std::optional<std::set<std::string>> paths_;
};

} // namespace tarnwick
