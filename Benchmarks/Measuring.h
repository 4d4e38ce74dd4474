#pragma once

#include "Foundation/Directory.h"
#include "Foundation/UUID.h"

#include <fmt/format.h>

#include <chrono>
#include <exception>

namespace tarnwick::benchmark {

template <typename Work>
double seconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline URL newFolder() {
    return temporaryDirectory().appending("tarnwick-benchmark-" + UUID::random().text());
}

/// What main() returns: the program's status, or 1 after telling of an error.
template <typename Program>
int run(Program program) {
    try {
        return program();
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
}

} // namespace tarnwick::benchmark
