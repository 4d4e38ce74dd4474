#pragma once

#include "Foundation/URL.h"

#include <string>
#include <vector>

namespace tarnwick {

/// Whether one of the folders contains an executable of this name.
bool hasProgram(const std::string& name, const std::vector<URL>& folders);

/// Whether one of the library folders contains the plug-in with which the file manager ("nautilus", "caja")
/// loads extensions in Python.
bool hasPythonPlugin(const std::string& fileManager, const std::vector<URL>& libraries);

} // namespace tarnwick
