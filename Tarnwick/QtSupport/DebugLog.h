#pragma once

#include <QLoggingCategory>

namespace tarnwick {

/// Failures that neither stop the program nor need the user. Off by default;
/// QT_LOGGING_RULES="tarnwick.debug=true" prints them.
Q_DECLARE_LOGGING_CATEGORY(debugLog)

} // namespace tarnwick
