#pragma once

namespace tarnwick {

/// The settings of the file managers' extensions.
class ExtensionManagement {
public:
    ExtensionManagement() = default;
    ExtensionManagement(const ExtensionManagement&) = delete;
    ExtensionManagement& operator=(const ExtensionManagement&) = delete;
    virtual ~ExtensionManagement() = default;

    /// Brings them before the user. On the main thread; does not wait.
    virtual void showExtensionManagementInterface() = 0;
};

} // namespace tarnwick
