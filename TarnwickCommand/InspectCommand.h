#pragma once

#include "TarnwickCommand/Command.h"

#include <string>
#include <vector>

namespace tarnwick {

/// Tells the kind and the structure of picture files.
int runInspect(const CommandContext& context, const std::vector<std::string>& paths);

} // namespace tarnwick
