#pragma once

#include "TarnwickCommand/Command.h"

#include <string>
#include <vector>

namespace tarnwick {

/// Compresses the files and the pictures in the folders as one batch of the history.
int runCompress(const CommandContext& context, const std::vector<std::string>& paths);

} // namespace tarnwick
