#pragma once

#include "TarnwickCommand/Command.h"

#include <string>
#include <vector>

namespace tarnwick {

/// Deletes records and their backups.
int runDelete(const CommandContext& context, const std::vector<std::string>& identifiers);

} // namespace tarnwick
