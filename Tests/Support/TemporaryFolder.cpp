#include "Support/TemporaryFolder.h"

#include "Foundation/Text.h"
#include "Foundation/UUID.h"

#include <filesystem>
#include <system_error>

namespace tarnwick::test {

TemporaryFolder::TemporaryFolder()
    : url_(temporaryDirectory().appending("tarnwick-test-" + UUID::random().text())) {
    createDirectories(url_);
}

TemporaryFolder::~TemporaryFolder() {
    namespace fs = std::filesystem;
    std::error_code ignored;
    for (fs::recursive_directory_iterator item(url_.path(), ignored), end; item != end;
         item.increment(ignored)) {
        if (item->is_directory(ignored) && !item->is_symlink(ignored)) {
            fs::permissions(item->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(url_.path(), ignored);
}

URL TemporaryFolder::file(std::string_view name, std::string_view contents) const {
    URL url = *this / name;
    writeFile(url, bytesOf(contents));
    return url;
}

std::string TemporaryFolder::listing() const {
    std::string names;
    for (const URL& entry : entries(url_)) {
        names += (names.empty() ? "" : " ") + entry.lastPathComponent();
    }
    return names;
}

std::string contents(const URL& url) {
    const Bytes bytes = readFile(url, std::size_t{1} << 30U);
    return {bytes.begin(), bytes.end()};
}

} // namespace tarnwick::test
