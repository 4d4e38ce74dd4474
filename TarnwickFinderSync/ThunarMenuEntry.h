#pragma once

#include "TarnwickFinderSync/CreatedItems.h"
#include "TarnwickFinderSync/MenuEntry.h"
#include "TarnwickFinderSync/UserDirectories.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// Our action in Thunar's "uca.xml", beside the user's own. An action that starts this application keeps the
/// name and icon that the user gave it.
class ThunarMenuEntry : public MenuEntry {
public:
    /// `created` must outlive the entry.
    ThunarMenuEntry(std::string application, const UserDirectories& directories, CreatedItems& created);

    bool exists() const override;
    bool isCurrent() const override;
    void write() const override;
    void remove() const override;

private:
    void change(const std::function<bool(const std::optional<std::string>&)>& attempt) const;
    std::optional<std::string> presentCommand() const;
    std::string initialContents() const;
    bool isAsCreated(const std::string& contents) const;

    std::string application_;
    std::vector<URL> systemFiles_;
    URL file_;
    CreatedItems& created_;
};

} // namespace tarnwick
