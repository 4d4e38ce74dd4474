#pragma once

#include "TarnwickFinderSync/CreatedItems.h"
#include "TarnwickFinderSync/MenuEntry.h"
#include "TarnwickFinderSync/MenuFile.h"

#include <vector>

namespace tarnwick {

/// A menu entry with a file of its own. The first of `files` is the wanted one. The others are alternatives
/// that an earlier call may have written, and are removed.
class FileMenuEntry : public MenuEntry {
public:
    /// `created` must outlive the entry.
    FileMenuEntry(std::vector<MenuFile> files, CreatedItems& created);

    bool exists() const override;
    bool isCurrent() const override;
    void write() const override;
    void remove() const override;

private:
    void removeOurs(const URL& location) const;

    std::vector<MenuFile> files_;
    CreatedItems& created_;
};

} // namespace tarnwick
