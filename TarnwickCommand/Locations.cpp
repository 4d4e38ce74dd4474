#include "TarnwickCommand/Locations.h"

#include "Foundation/Directory.h"

#include <filesystem>
#include <system_error>

namespace tarnwick {

URL defaultToolDirectory(const URL& executable) {
    const URL contents = executable.deletingLastPathComponent().deletingLastPathComponent();
    const URL resources = contents.appending("Resources");
    return executable.isFileURL() && isDirectory(resources) ? resources.appending("Tools")
                                                            : URL::file("Vendor/Bin");
}

URL runningExecutable() {
    std::error_code error;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? URL() : URL::file(path.native());
}

} // namespace tarnwick
