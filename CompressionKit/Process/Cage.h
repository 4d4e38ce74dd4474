#pragma once

#include "Foundation/FileDescriptor.h"
#include "Process/CageRules.h"
#include "Process/CallFilter.h"

#include <sys/resource.h>

#include <optional>
#include <vector>

namespace tarnwick {

/// Confines one new child process to what its rules allow, as far as the kernel can: Landlock, a filter of
/// system calls, and limits. It leaves no core dump and gets no rights by executing a program. A tool decodes
/// pictures of strangers and may be taken over by one.
class Cage {
public:
    /// What the kernel has.
    struct Features {
        /// The version of Landlock: from 1 on for files, 4 for the network, 6 for signals; 0 without.
        int landlock = 0;
        bool seccomp = false;
    };
    /// Nothing when $TARNWICK_TOOL_CAGE is "off".
    static Features features();
    /// Whether $TARNWICK_TOOL_CAGE is other than "off". Fake tools and measuring ones need it to be off.
    static bool isWanted();

    /// `program` is what the child will execute. Throws FileSystemError, std::runtime_error.
    Cage(const URL& program, const CageRules& rules);

    /// For the child: confines it. `program` is the pointer that execve() will get; it accepts no other.
    /// Returns 0 or an errno value.
    int enter(const char* program) noexcept;

private:
    struct Limit {
        int resource;
        rlimit64 values;
    };

    void limit(int resource, std::uint64_t value);

    FileDescriptor ruleset_;
    std::optional<CallFilter> filter_;
    std::vector<Limit> limits_;
};

} // namespace tarnwick
