#pragma once

#include "Foundation/Date.h"

#include <string>

/// Dates are clamped to the years 1 to 9999.
namespace tarnwick::DateText {

/// "2025-01-02T03:04:05Z"
std::string iso8601(Date date);
/// "2025-01-02 11:04" in the local time zone.
std::string local(Date date);
/// "11:04" in the local time zone.
std::string localTime(Date date);

} // namespace tarnwick::DateText
