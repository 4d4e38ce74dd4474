#pragma once

#include "Foundation/URL.h"
#include "Process/Cancellation.h"
#include "Process/ToolRunner.h"
#include "Tarnwick/Desktop/ApplicationBundle.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick {

class LaunchServices;

/// Whether a line of `pluginkit`'s listing says that the extension with this identifier at `extension` is
/// enabled.
bool confirmsExtension(std::string_view listing, std::string_view identifier, const URL& extension);

/// Registers the file managers' extension with the system. Blocks; not for the main thread.
class FinderRegistration {
public:
    /// Blocks for this many seconds; throws Cancelled on cancellation.
    using Sleep = std::function<void(double seconds, const Cancellation&)>;

    /// `pluginKit` runs the tool of that name; its cancellation also cancels a run. `launchServices` must
    /// outlive this object.
    FinderRegistration(ApplicationBundle bundle, LaunchServices& launchServices, ToolRunner pluginKit,
                       double pluginKitTimeout, Sleep sleep);

    /// Registers the bundle, its helper and the extension. With `enable` it also enables the extension and
    /// returns once the system confirms that. Returns what `pluginkit` says of single menus that it could not
    /// enable; empty in most cases. Throws CompressionError and the errors of ToolRunner::run(), with the
    /// text for the user.
    std::string run(bool enable) const;

private:
    void checkParts() const;
    std::string enableExtension() const;
    bool isEnabled() const;
    std::string runPluginKit(const std::vector<std::string>& arguments) const;

    ApplicationBundle bundle_;
    LaunchServices& launchServices_;
    ToolRunner pluginKit_;
    double pluginKitTimeout_;
    Sleep sleep_;
};

} // namespace tarnwick
