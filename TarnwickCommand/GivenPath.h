#pragma once

#include "Foundation/URL.h"

#include <optional>
#include <string>

/// Paths as a person types them: of any bytes, and mostly relative.
namespace tarnwick::GivenPath {

/// The file at the path; throws FileSystemError for the empty path, which names none.
URL url(const std::string& path);

/// The path as JSON can carry it: itself when it is UTF-8, else the file's URI.
std::string portableText(const std::string& path);

/// The item's one name, without links and dots; what is missing at its end stays as it stands. The location
/// itself when it cannot be told.
URL resolved(const URL& url);
/// The same for the item's folder only: the item may be a link, and stays one.
URL resolvingFolder(const URL& url);

/// What is no regular file is no picture.
constexpr auto notARegularFile = "请选择普通图片文件";

} // namespace tarnwick::GivenPath
