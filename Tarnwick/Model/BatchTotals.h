#pragma once

#include "Engine/CompressionResult.h"

#include <cstdint>

namespace tarnwick {

/// Counts the files of a batch. It begins with an import while nothing is compressed and includes every
/// import until all its files are done. Its totals stay until the next one begins.
class BatchTotals {
public:
    void begin(int files);
    void add(const CompressionResult& result);
    void addFailure() { ++done_; }

    int done() const noexcept { return done_; }
    int total() const noexcept { return total_; }
    /// Of the files that became smaller.
    std::int64_t savedBytes() const noexcept { return savedBytes_; }

private:
    int done_ = 0;
    int total_ = 0;
    std::int64_t savedBytes_ = 0;
};

} // namespace tarnwick
