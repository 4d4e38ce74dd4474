#include "Tarnwick/Desktop/DesktopLaunchServices.h"

#include "Tarnwick/QtSupport/DebugLog.h"

#include <unistd.h>

#include <QFile>
#include <cerrno>

namespace tarnwick {

void DesktopLaunchServices::registerBundle(const URL& bundle) {
    if (::access(bundle.c_str(), R_OK | X_OK) != 0) {
        qCDebug(debugLog).noquote() << "无法读取 " + QFile::decodeName(bundle.c_str()) + "：" +
                                           qt_error_string(errno);
    }
}

} // namespace tarnwick
