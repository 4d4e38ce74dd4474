#pragma once

#include "TarnwickCommand/Command.h"

namespace tarnwick {

/// Lists the records, the newest first.
int runHistory(const CommandContext& context);

} // namespace tarnwick
