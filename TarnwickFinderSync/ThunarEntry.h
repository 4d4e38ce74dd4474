#pragma once

#include "TarnwickFinderSync/CreatedItems.h"
#include "TarnwickFinderSync/MenuEntry.h"
#include "TarnwickFinderSync/UserDirectories.h"

#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// Our action among the user's in Thunar's "uca.xml". The name, the icon and the like that the user gave it
/// since are kept, as long as it starts this application.
class ThunarEntry : public MenuEntry {
public:
    /// `created` must outlive the entry.
    ThunarEntry(std::string application, const UserDirectories& directories, CreatedItems& created);

    bool stands() const override;
    bool isCurrent() const override;
    void write() const override;
    void remove() const override;

private:
    std::optional<std::string> presentCommand() const;
    std::string initialContents() const;
    bool isWhatWeMade(const std::string& contents) const;

    std::string application_;
    std::vector<URL> systemFiles_;
    URL file_;
    CreatedItems& created_;
};

} // namespace tarnwick
