#pragma once

#include <linux/filter.h>

#include <vector>

namespace tarnwick {

/// A seccomp filter, which refuses a program the system calls that no encoder needs: further programs and
/// processes, signals to others, sockets, other processes' memory, limits and files' attributes, and whatever
/// changes the machine. They fail with EPERM. Threads are allowed.
///
/// The list names what is refused, not what is allowed: a list of allowed calls would break with every new
/// version of the C library. Calls that are newer than the list do not exist for the program (ENOSYS).
class CallFilter {
public:
    static bool isSupported() noexcept;

    /// `hasListedFiles`: also refuses the calls by which a program gets round the limits that Landlock sets
    /// to its files. Throws std::runtime_error.
    explicit CallFilter(bool hasListedFiles);

    /// For a new child process: from now on it can execute only the program whose name is at this address,
    /// which nobody knows in the address space of that program, and send signals only to itself. Makes plain
    /// system calls only. Returns 0 or an errno value.
    int install(const char* program) noexcept;

private:
    std::vector<sock_filter> instructions_;
};

} // namespace tarnwick
