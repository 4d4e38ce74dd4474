#pragma once

#include "Engine/CompressionResult.h"

#include <cstdint>

namespace tarnwick {

/// Counts the files that are at work together: a batch begins with an import while nothing is compressed and
/// takes in all that come before it has ended. It stays to be seen until the next one.
class BatchTotals {
public:
    void begin(int files);
    void endWith(const CompressionResult& result);
    void endWithFailure() { ++done_; }

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
