#pragma once

#include <QString>
#include <exception>
#include <string>

namespace tarnwick {

/// What to tell the user of an error that came from another thread.
std::string errorDescription(const std::exception_ptr& error);
QString errorText(const std::exception_ptr& error);

} // namespace tarnwick
