#pragma once

#include <QString>

namespace tarnwick {

/// The user's settings of this application. To be used on the main thread.
class Defaults {
public:
    Defaults() = default;
    Defaults(const Defaults&) = delete;
    Defaults& operator=(const Defaults&) = delete;
    virtual ~Defaults() = default;

    /// False when nothing is stored under the key, or no Boolean.
    virtual bool boolean(const QString& key) const = 0;
    /// Is stored when this returns; a failure is only logged.
    virtual void setBoolean(const QString& key, bool value) = 0;
};

} // namespace tarnwick
