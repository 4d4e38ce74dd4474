#include "Tarnwick/Desktop/ApplicationBundle.h"

#include "Foundation/FileOperations.h"

#include <filesystem>

namespace tarnwick {

ApplicationBundle::ApplicationBundle(const URL& executable)
    : contents_(executable.deletingLastPathComponent().deletingLastPathComponent()) {}

ApplicationBundle ApplicationBundle::running() {
    return ApplicationBundle(URL::file(std::filesystem::read_symlink("/proc/self/exe").native()));
}

URL ApplicationBundle::url() const {
    return contents_.deletingLastPathComponent();
}

URL ApplicationBundle::executable() const {
    return contents_.appending("Linux/Tarnwick");
}

URL ApplicationBundle::toolDirectory() const {
    const URL resources = contents_.appending("Resources");
    return isDirectory(resources) ? resources.appending("Tools") : URL::file("Vendor/Bin");
}

URL ApplicationBundle::extension() const {
    return contents_.appending("PlugIns/TarnwickFinderSync.appex");
}

URL ApplicationBundle::pluginKitDirectory(const URL& systemTools) const {
    return itemExists(systemTools.appending("pluginkit")) ? systemTools
                                                          : extension().appending("Contents/Linux");
}

URL ApplicationBundle::helper() const {
    return contents_.appending("Library/LoginItems/TarnwickBackground.app");
}

URL ApplicationBundle::helperExecutable() const {
    return helper().appending("Contents/Linux/TarnwickBackground");
}

} // namespace tarnwick
