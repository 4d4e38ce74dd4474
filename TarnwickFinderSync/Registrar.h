#pragma once

#include "TarnwickFinderSync/ExtensionRegistry.h"
#include "TarnwickFinderSync/UserDirectories.h"

#include <string>
#include <vector>

namespace tarnwick {

/// The operations of `pluginkit`. They throw CompressionError or FileSystemError.
///
/// An extension is enabled when a menu has an entry that starts its application. Where no file manager is
/// installed, it is enabled when the user elected to use it. When several applications registered the same
/// extension, the entries start the last one.
class Registrar {
public:
    explicit Registrar(UserDirectories directories);

    /// Registers the bundle at `location` and updates the entries that exist.
    void add(const URL& location) const;
    /// Writes or removes the entries, then saves the election: the user's choice to use or ignore the
    /// extension. One menu that cannot have its entry does not prevent the use of the others: then this
    /// returns a line for each such menu.
    std::string elect(const std::string& identifier, ExtensionRegistry::Election election) const;
    /// A line for each registered bundle. It begins with "+" when the extension is enabled, with "-" when the
    /// user elected to ignore it, else with a space.
    std::string list(const std::string& identifier) const;

private:
    URL folder() const;
    URL file() const;
    std::vector<ExtensionRegistry::Registration> registrations(const std::string& identifier) const;
    char mark(const URL& bundle, std::optional<ExtensionRegistry::Election> election) const;

    UserDirectories directories_;
};

/// Executes one command line, without the program's name. Writes the list, and the menus that could not be
/// enabled beside others, to standard output; errors and the usage to standard error. Returns the exit
/// status.
int runRegistrar(const std::vector<std::string>& arguments, const UserDirectories& directories);

} // namespace tarnwick
