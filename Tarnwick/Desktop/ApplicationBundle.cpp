#include "Tarnwick/Desktop/ApplicationBundle.h"

#include "Foundation/Directory.h"

#include <filesystem>

namespace tarnwick {

ApplicationBundle::ApplicationBundle(const URL& executable)
    : contents_(executable.deletingLastPathComponent().deletingLastPathComponent()) {}

ApplicationBundle ApplicationBundle::running() {
    return ApplicationBundle(URL::file(std::filesystem::read_symlink("/proc/self/exe").native()));
}

URL ApplicationBundle::toolDirectory() const {
    const URL resources = contents_.appending("Resources");
    return isDirectory(resources) ? resources.appending("Tools") : URL::file("Vendor/Bin");
}

URL ApplicationBundle::helperExecutable() const {
    return contents_.appending("Library/LoginItems/TarnwickBackground.app/Contents/Linux/TarnwickBackground");
}

} // namespace tarnwick
