#pragma once

#include <sys/syscall.h>
#include <unistd.h>

/// For what a new child process does before it executes its program. The child shares the memory of this
/// process, in which one thread waits for it while the others go on. So it makes plain system calls only
/// (syscall()), and a sanitizer must not take what it does for an action of this process.
#define TARNWICK_IN_CHILD __attribute__((no_sanitize("address", "thread", "undefined")))
