#pragma once

#include "Foundation/URL.h"

#include <string>
#include <vector>

namespace tarnwick {

/// Whether a program of this name stands in one of the folders.
bool hasProgram(const std::string& name, const std::vector<URL>& folders);

/// Whether the plug-in by which the file manager ("nautilus", "caja") loads extensions in Python stands below
/// one of the library folders.
bool hasPythonPlugin(const std::string& fileManager, const std::vector<URL>& libraries);

} // namespace tarnwick
