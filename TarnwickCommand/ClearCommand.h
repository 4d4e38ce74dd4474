#pragma once

#include "TarnwickCommand/Command.h"

namespace tarnwick {

/// Deletes the whole history, after asking on the terminal unless it is confirmed already.
int runClear(const CommandContext& context, bool isConfirmed);

} // namespace tarnwick
