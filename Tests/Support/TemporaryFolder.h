#pragma once

#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Foundation/URL.h"

#include <string>
#include <string_view>

namespace tarnwick::test {

/// A folder for one test, removed with its contents, even where the test removed permissions.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const URL& url() const { return url_; }
    URL operator/(std::string_view name) const { return url_.appending(name); }
    /// Writes a file with this content and returns its location.
    URL file(std::string_view name, std::string_view contents) const;
    /// The sorted names in the folder, hidden ones too, joined by spaces.
    std::string listing() const;

private:
    URL url_;
};

/// The file's bytes.
std::string contents(const URL& url);

} // namespace tarnwick::test
