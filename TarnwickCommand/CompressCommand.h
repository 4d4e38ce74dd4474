#pragma once

#include "TarnwickCommand/Command.h"

#include <string>
#include <vector>

namespace tarnwick {

/// Compresses the files and the pictures in the folders as one batch of the history; unless `isAgain`, not
/// those that are the result of an earlier compression. Says beforehand how much of the batch cannot be taken
/// back.
int runCompress(const CommandContext& context, const std::vector<std::string>& paths, bool isAgain);

} // namespace tarnwick
