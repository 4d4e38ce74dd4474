#pragma once

#include "Foundation/URL.h"

#include <string>

namespace tarnwick {

/// The bundle of an extension, "Contents/PlugIns/<name>.appex" of an application.
struct ExtensionBundle {
    URL location;
    std::string identifier;
    std::string version;

    /// Reads what the bundle says of itself in "Contents/Info.plist". Throws CompressionError when there is
    /// no such bundle.
    static ExtensionBundle at(const URL& location);
};

/// The executable of the application that the bundle at `location` belongs to.
URL applicationOfExtension(const URL& location);

} // namespace tarnwick
