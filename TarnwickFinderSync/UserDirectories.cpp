#include "TarnwickFinderSync/UserDirectories.h"

#include "Foundation/Directory.h"

#include <cstdlib>
#include <string>
#include <string_view>

namespace tarnwick {
namespace {

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// The absolute paths in a list separated by colons. Others are ignored.
std::vector<URL> directories(std::string_view list) {
    std::vector<URL> found;
    while (!list.empty()) {
        const auto end = list.find(':');
        if (list.starts_with('/')) {
            found.push_back(URL::file(list.substr(0, end)));
        }
        list = end == std::string_view::npos ? "" : list.substr(end + 1);
    }
    return found;
}

std::string_view valueOr(std::string_view value, std::string_view otherwise) {
    return value.empty() ? otherwise : value;
}

} // namespace

UserDirectories UserDirectories::fromEnvironment() {
    return {.data = applicationSupportDirectory(),
            .configuration = configurationDirectory(),
            .systemConfiguration = directories(valueOr(environment("XDG_CONFIG_DIRS"), "/etc/xdg")),
            .executables = directories(valueOr(environment("PATH"), "/usr/local/bin:/usr/bin:/bin")),
            .libraries = directories("/usr/lib:/usr/lib64:/usr/local/lib:/usr/local/lib64")};
}

} // namespace tarnwick
