#pragma once

#include "Foundation/FileDescriptor.h"
#include "Process/CageRules.h"

/// Landlock, by which a process gives up access to files, the network and other processes for itself and for
/// the programs that it executes.
namespace tarnwick::Landlock {

/// The version of the kernel's interface; 0 when the kernel has none, or refuses its use.
int version() noexcept;

/// A ruleset for landlock_restrict_self(), as strict as the kernel can make it. `program` and the system's
/// libraries can be read and executed. None when the kernel can restrict nothing that the rules ask for.
/// Throws FileSystemError.
FileDescriptor ruleset(const URL& program, const std::optional<CageRules::Files>& files);

} // namespace tarnwick::Landlock
