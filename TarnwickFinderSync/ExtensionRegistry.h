#pragma once

#include "Foundation/URL.h"
#include "TarnwickFinderSync/ExtensionBundle.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick {

/// The file with the registered bundles and the user's choice for each extension.
class ExtensionRegistry {
public:
    enum class Election { use, ignore };

    struct Registration {
        ExtensionBundle bundle;
        /// Kept when a bundle at the same location is registered again.
        std::string uuid;
        /// The time of the last registration, such as "2026-01-31 12:00:00 +0000".
        std::string date;
    };

    /// Reads `file`, which need not exist. Throws FileSystemError, and CompressionError when the file is
    /// damaged.
    explicit ExtensionRegistry(URL file);

    /// Appends a registration, which replaces an earlier one of the same location. Drops the registrations
    /// whose bundle no longer exists.
    void add(const ExtensionBundle& bundle);
    void elect(const std::string& identifier, Election election);

    /// In the order of registration.
    std::vector<Registration> registrations(const std::string& identifier) const;
    std::optional<Election> election(const std::string& identifier) const;

    /// Replaces the file atomically and durably. Throws FileSystemError or CompressionError.
    void save() const;

private:
    URL file_;
    std::vector<Registration> registrations_;
    std::map<std::string, Election> elections_;
};

} // namespace tarnwick
