#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tarnwick {

/// Steps through a picture from the top in bands of whole rows, so that pictures of any size take bounded
/// memory.
class BandWalk {
public:
    /// A picture without pixels has no band.
    BandWalk(std::int64_t width, std::int64_t height);

    /// Goes to the next band; false after the last one.
    bool next();
    /// The current band's rows.
    std::int64_t rows() const noexcept { return rows_; }
    /// Room for the current band: rows × width × 4 bytes, reused by the next band.
    std::span<std::uint8_t> buffer();

    /// About a mebipixel, and at least one row.
    static std::int64_t rowsPerBand(std::int64_t width, std::int64_t height) noexcept;

private:
    std::int64_t width_;
    std::int64_t remaining_;
    std::int64_t bandRows_;
    std::int64_t rows_ = 0;
    std::vector<std::uint8_t> buffer_;
};

} // namespace tarnwick
