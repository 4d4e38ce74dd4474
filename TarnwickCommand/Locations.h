#pragma once

#include "Foundation/URL.h"

namespace tarnwick {

/// The folder of the external tools: "Resources/Tools" of the bundle that `executable` stands in, else
/// "Vendor/Bin" in the current directory.
URL defaultToolDirectory(const URL& executable);

/// The running program; empty when the system does not tell.
URL runningExecutable();

} // namespace tarnwick
