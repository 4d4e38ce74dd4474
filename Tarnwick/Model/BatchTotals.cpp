#include "Tarnwick/Model/BatchTotals.h"

#include <algorithm>

namespace tarnwick {

void BatchTotals::begin(int files) {
    if (done_ == total_) {
        *this = {};
    }
    total_ += files;
}

void BatchTotals::add(const CompressionResult& result) {
    ++done_;
    // A converted picture is usually larger; that does not reduce what the others saved.
    savedBytes_ += std::max<std::int64_t>(result.savedBytes(), 0);
}

} // namespace tarnwick
