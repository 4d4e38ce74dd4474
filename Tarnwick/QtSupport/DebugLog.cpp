#include "Tarnwick/QtSupport/DebugLog.h"

namespace tarnwick {

Q_LOGGING_CATEGORY(debugLog, "tarnwick", QtInfoMsg)

} // namespace tarnwick
