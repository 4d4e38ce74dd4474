#pragma once

#include "Foundation/FileContents.h"
#include "Foundation/URL.h"

#include <string>

namespace tarnwick::test {

// The pictures of Tests/Pictures. pictures.json there says what each one holds.

/// A picture's own file. Tests only read it.
URL picture(const std::string& name);
Bytes pictureBytes(const std::string& name);
/// The same as text.
std::string pictureText(const std::string& name);
/// Writes a copy of the picture to `destination` and returns that.
URL copyPicture(const std::string& name, const URL& destination);

} // namespace tarnwick::test
