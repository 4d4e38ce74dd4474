#pragma once

#include "TarnwickCommand/Command.h"

namespace tarnwick {

/// Deletes the whole history. Asks on the terminal first unless `isConfirmed`.
int runClear(const CommandContext& context, bool isConfirmed);

} // namespace tarnwick
