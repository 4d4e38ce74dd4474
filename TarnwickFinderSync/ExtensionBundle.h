#pragma once

#include "Foundation/URL.h"

#include <string>

namespace tarnwick {

/// The bundle of an extension: "Contents/PlugIns/<name>.appex" in an application's bundle.
struct ExtensionBundle {
    URL location;
    std::string identifier;
    std::string version;

    /// Reads "Contents/Info.plist" of the bundle. Throws CompressionError when there is no such bundle.
    static ExtensionBundle at(const URL& location);
};

/// The executable of the application that contains the bundle at `location`.
URL applicationOfExtension(const URL& location);

} // namespace tarnwick
