#pragma once

#include "TarnwickCommand/Command.h"

#include <string>
#include <vector>

namespace tarnwick {

/// Puts originals back, each named by its record or by its file.
int runRestore(const CommandContext& context, const std::vector<std::string>& recordsOrPaths);

} // namespace tarnwick
