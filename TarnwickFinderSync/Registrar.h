#pragma once

#include "TarnwickFinderSync/ExtensionRegistry.h"
#include "TarnwickFinderSync/UserDirectories.h"

#include <string>
#include <vector>

namespace tarnwick {

/// The calls of `pluginkit`, the registrar of extensions. Errors are thrown as CompressionError or
/// FileSystemError.
///
/// An extension counts as enabled when a menu has an entry that starts its application, or, where the user
/// elected to use it, when no file manager is installed that could have one. Of several applications that
/// registered the same extension, the last one has the entries.
class Registrar {
public:
    explicit Registrar(UserDirectories directories);

    /// Registers the bundle at `location`, and writes entries anew that are there but not up to date.
    void add(const URL& location) const;
    /// Writes or removes the entries, and notes the election when that is done.
    void elect(const std::string& identifier, ExtensionRegistry::Election election) const;
    /// A line for each registered bundle; its first character is "+" when it is enabled, "-" when it was
    /// elected to be ignored, else a blank.
    std::string list(const std::string& identifier) const;

private:
    URL folder() const;
    URL file() const;
    std::vector<ExtensionRegistry::Registration> registrations(const std::string& identifier) const;
    char mark(const URL& bundle, std::optional<ExtensionRegistry::Election> election) const;

    UserDirectories directories_;
};

/// Runs one call: arguments as `main` gets them, without the program's name. Its text goes to standard
/// output, errors and the usage to standard error. Returns the exit status.
int runRegistrar(const std::vector<std::string>& arguments, const UserDirectories& directories);

} // namespace tarnwick
