#pragma once

#include "Foundation/URL.h"

#include <optional>
#include <set>
#include <string>

namespace tarnwick {

/// What the menus' entries made around themselves in the user's folders, kept in a file of its own: only that
/// may go with them. Changes are on the disk when a call returns. To be used under a lock.
class CreatedItems {
public:
    /// `file` need not exist, but its folder must when something is noted. It is read at the first need; all
    /// calls throw FileSystemError, and CompressionError when it is damaged.
    explicit CreatedItems(URL file);

    /// Makes the folder and those above it that are missing.
    void createDirectories(const URL& folder);
    /// Removes the folder and those above it, as long as they were made here and are empty.
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
