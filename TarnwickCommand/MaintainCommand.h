#pragma once

#include "TarnwickCommand/Command.h"

namespace tarnwick {

/// Removes the backups that are too old or too much, as the background service does.
int runMaintain(const CommandContext& context);

} // namespace tarnwick
