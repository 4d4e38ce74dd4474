#pragma once

#include <QString>
#include <exception>

namespace tarnwick {

/// What to tell the user of an error that came from another thread.
QString errorText(const std::exception_ptr& error);

} // namespace tarnwick
