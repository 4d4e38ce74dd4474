#pragma once

#include "Foundation/URL.h"
#include "Process/Cancellation.h"
#include "Process/ToolRunner.h"
#include "Tarnwick/Desktop/ApplicationBundle.h"

#include <functional>
#include <string_view>

namespace tarnwick {

class LaunchServices;

/// Whether a line of what `pluginkit` lists says that the extension of this identifier is enabled, and that
/// it is the one at `extension`.
bool confirmsExtension(std::string_view listing, std::string_view identifier, const URL& extension);

/// Makes the extension of the file managers known to the system. Blocks, so it is no work for the main
/// thread.
class FinderRegistration {
public:
    /// Blocks for so many seconds; throws Cancelled when that is asked for.
    using Sleep = std::function<void(double seconds, const Cancellation&)>;

    /// `pluginKit` runs the tool of that name; its cancellation ends a run. `launchServices` must outlive
    /// this.
    FinderRegistration(ApplicationBundle bundle, LaunchServices& launchServices, ToolRunner pluginKit,
                       Sleep sleep);

    /// Registers the bundle, its helper and the extension; enables the extension too when asked to, and
    /// returns only when the system confirms that. Throws CompressionError, or what ToolRunner::run() throws,
    /// with the text for the user.
    void run(bool enable) const;

private:
    void checkParts() const;
    void enableExtension() const;
    bool isEnabled() const;
    std::string runPluginKit(const std::vector<std::string>& arguments) const;

    ApplicationBundle bundle_;
    LaunchServices& launchServices_;
    ToolRunner pluginKit_;
    Sleep sleep_;
};

} // namespace tarnwick
