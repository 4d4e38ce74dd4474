#include "Tarnwick/Desktop/SettingsFile.h"

#include "Foundation/Directory.h"
#include "Tarnwick/QtSupport/DebugLog.h"

#include <QFile>

namespace tarnwick {

SettingsFile::SettingsFile(const QString& path) : settings_(path, QSettings::IniFormat) {}

QString SettingsFile::userPath() {
    return QFile::decodeName(configurationDirectory().appending("Tarnwick/Settings.ini").c_str());
}

bool SettingsFile::boolean(const QString& key) const {
    return settings_.value(key, false).toBool();
}

void SettingsFile::setBoolean(const QString& key, bool value) {
    settings_.setValue(key, value);
    settings_.sync();
    if (settings_.status() != QSettings::NoError) {
        qCDebug(debugLog).noquote() << "无法保存设置：" + settings_.fileName();
    }
}

} // namespace tarnwick
