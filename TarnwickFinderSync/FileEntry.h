#pragma once

#include "TarnwickFinderSync/CreatedItems.h"
#include "TarnwickFinderSync/MenuEntry.h"
#include "TarnwickFinderSync/MenuFile.h"

#include <vector>

namespace tarnwick {

/// An entry that is a file by itself. The first of `files` is the one to be there, the others are what may
/// stand there from other days.
class FileEntry : public MenuEntry {
public:
    /// `created` must outlive the entry.
    FileEntry(std::vector<MenuFile> files, CreatedItems& created);

    bool stands() const override;
    bool isCurrent() const override;
    void write() const override;
    void remove() const override;

private:
    void removeOurs(const URL& location) const;

    std::vector<MenuFile> files_;
    CreatedItems& created_;
};

} // namespace tarnwick
