#pragma once

#include "Tarnwick/Desktop/FinderServices.h"

#include <QSettings>

namespace tarnwick {

/// An INI file.
class SettingsFile final : public Defaults {
public:
    /// The file and its folders are created when a value is stored.
    explicit SettingsFile(const QString& path);
    /// $XDG_CONFIG_HOME/Tarnwick/Settings.ini, by default in ~/.config.
    static QString userPath();

    bool boolean(const QString& key) const override;
    void setBoolean(const QString& key, bool value) override;

private:
    QSettings settings_;
};

} // namespace tarnwick
