#pragma once

#include "Foundation/URL.h"
#include "TarnwickFinderSync/ExtensionBundle.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// The bundles that were registered, and whether the user wants their extensions: a file in the user's data.
class ExtensionRegistry {
public:
    enum class Election { use, ignore };

    struct Registration {
        ExtensionBundle bundle;
        /// Stays with the bundle's location.
        std::string uuid;
        /// "2026-01-31 12:00:00 +0000", the last registration.
        std::string date;
    };

    /// Reads it; `file` need not exist. Throws FileSystemError, and CompressionError when the file is
    /// damaged.
    explicit ExtensionRegistry(URL file);

    /// As the last one, in the place of an earlier registration of its location; those whose bundle is gone
    /// are dropped.
    void add(const ExtensionBundle& bundle);
    void elect(const std::string& identifier, Election election);

    /// In the order of their registration.
    std::vector<Registration> registrations(const std::string& identifier) const;
    std::optional<Election> election(const std::string& identifier) const;

    /// In one step, on the disk when it returns. Throws FileSystemError or CompressionError.
    void save() const;

private:
    URL file_;
    std::vector<Registration> registrations_;
    std::map<std::string, Election> elections_;
};

} // namespace tarnwick
