#pragma once

#include "Foundation/URL.h"

#include <QString>

namespace tarnwick {

/// The system's registry of applications.
class LaunchServices {
public:
    LaunchServices() = default;
    LaunchServices(const LaunchServices&) = delete;
    LaunchServices& operator=(const LaunchServices&) = delete;
    virtual ~LaunchServices() = default;

    /// Registers a bundle, or updates its registration. May block; safe from any thread. A failure is debug
    /// output.
    virtual void registerBundle(const URL& bundle) = 0;
};

/// The user's settings of this application, for the main thread.
class Defaults {
public:
    Defaults() = default;
    Defaults(const Defaults&) = delete;
    Defaults& operator=(const Defaults&) = delete;
    virtual ~Defaults() = default;

    /// False when the key has no value, or one that is no Boolean.
    virtual bool boolean(const QString& key) const = 0;
    /// The value is stored when this returns; a failure is debug output.
    virtual void setBoolean(const QString& key, bool value) = 0;
};

/// The settings of the file managers' extensions.
class ExtensionManagement {
public:
    ExtensionManagement() = default;
    ExtensionManagement(const ExtensionManagement&) = delete;
    ExtensionManagement& operator=(const ExtensionManagement&) = delete;
    virtual ~ExtensionManagement() = default;

    /// Shows them to the user. For the main thread; does not wait.
    virtual void showExtensionManagementInterface() = 0;
};

} // namespace tarnwick
