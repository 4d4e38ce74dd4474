#pragma once

#include "Foundation/Date.h"

#include <string>

/// A date beyond the years 1 to 9999 is told as the nearest one within.
namespace tarnwick::DateText {

/// "2025-01-02T03:04:05Z"
std::string iso8601(Date date);
/// "2025-01-02 11:04" on the user's clock.
std::string local(Date date);
/// "11:04" on the user's clock.
std::string localTime(Date date);

} // namespace tarnwick::DateText
