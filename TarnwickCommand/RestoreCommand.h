#pragma once

#include "TarnwickCommand/Command.h"

#include <string>
#include <vector>

namespace tarnwick {

/// Restores originals, each given by its record's identifier or by its file.
int runRestore(const CommandContext& context, const std::vector<std::string>& recordsOrPaths);

} // namespace tarnwick
