#pragma once

#include "Foundation/URL.h"

#include <optional>
#include <string>

/// Paths from the command line: any bytes, often relative.
namespace tarnwick::GivenPath {

/// The file at the path. Throws FileSystemError for an empty path.
URL url(const std::string& path);

/// The path for JSON: itself when it is UTF-8, else the file's URI.
std::string portableText(const std::string& path);

/// The canonical path, without links and dots; components that do not exist stay as they are. The given URL
/// when the path cannot be resolved.
URL resolved(const URL& url);
/// The same for the folder only; a link as the last component is kept.
URL resolvingFolder(const URL& url);

} // namespace tarnwick::GivenPath
