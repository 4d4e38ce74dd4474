#include "Tarnwick/Model/FinderRegistration.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Text.h"
#include "Tarnwick/Desktop/FinderServices.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace tarnwick {
namespace {

constexpr int attempts = 3;
constexpr double pauseStep = 0.5;

bool exists(const URL& url) {
    std::error_code error;
    return std::filesystem::exists(url.path(), error);
}

bool confirms(std::string_view line, std::string_view identifier, std::string_view path) {
    std::string_view entry = trimmed(line);
    if (!entry.starts_with('+')) {
        return false;
    }
    entry = trimmed(entry.substr(1));
    return entry.starts_with(identifier) && entry.substr(identifier.size()).starts_with('(') &&
           line.find(path) != std::string_view::npos;
}

} // namespace

bool confirmsExtension(std::string_view listing, std::string_view identifier, const URL& extension) {
    // The tool runner has replaced the bytes of the listing that are not UTF-8 in the same way.
    const std::string path = decodeUTF8(extension.path());
    while (!listing.empty()) {
        const std::string_view line = listing.substr(0, listing.find('\n'));
        if (confirms(line, identifier, path)) {
            return true;
        }
        listing.remove_prefix(std::min(line.size() + 1, listing.size()));
    }
    return false;
}

FinderRegistration::FinderRegistration(ApplicationBundle bundle, LaunchServices& launchServices,
                                       ToolRunner pluginKit, double pluginKitTimeout, Sleep sleep)
    : bundle_(std::move(bundle)), launchServices_(launchServices), pluginKit_(std::move(pluginKit)),
      pluginKitTimeout_(pluginKitTimeout), sleep_(std::move(sleep)) {}

std::string FinderRegistration::run(bool enable) const {
    checkParts();
    launchServices_.registerBundle(bundle_.url());
    launchServices_.registerBundle(bundle_.helper());
    runPluginKit({"-a", bundle_.extension().path()});
    return enable ? enableExtension() : std::string();
}

void FinderRegistration::checkParts() const {
    if (!exists(bundle_.extension()) || !exists(bundle_.helper())) {
        throw CompressionError::fileOperation("安装包缺少 Finder 扩展或后台压缩组件。");
    }
}

std::string FinderRegistration::enableExtension() const {
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (attempt > 0) {
            sleep_(attempt * pauseStep, pluginKit_.cancellation());
        }
        const std::string failures =
            runPluginKit({"-e", "use", "-i", ApplicationBundle::extensionIdentifier});
        if (isEnabled()) {
            return std::string(trimmed(failures));
        }
    }
    throw CompressionError::fileOperation("macOS 尚未确认此安装位置的 Finder 扩展已启用。");
}

bool FinderRegistration::isEnabled() const {
    const std::string listing =
        runPluginKit({"-m", "-D", "-v", "-i", ApplicationBundle::extensionIdentifier});
    return confirmsExtension(listing, ApplicationBundle::extensionIdentifier, bundle_.extension());
}

std::string FinderRegistration::runPluginKit(const std::vector<std::string>& arguments) const {
    return pluginKit_.run("pluginkit", arguments, pluginKitTimeout_);
}

} // namespace tarnwick
