#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tarnwick {

struct PixelSize {
    std::int64_t width = 0;
    std::int64_t height = 0;

    friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// Makes a picture smaller while its rows are decoded, and holds only one row of the result. Every pixel of
/// the result is the average over the area that it covers; colours are weighted by their alpha.
class RowShrinker {
public:
    /// The rows are those of a picture of the size `from`, reduced to `eighths` of it and rounded up to whole
    /// pixels. `to` must be at least 1, and at most the reduced size before rounding.
    RowShrinker(PixelSize from, PixelSize to, std::int64_t eighths);

    /// Adds the next row, and appends a row to `shrunk` when it is complete. Both are straight RGBA, 8 bits a
    /// component.
    void add(std::span<const std::uint8_t> row, std::vector<std::uint8_t>& shrunk);

private:
    /// Sums over an area. The unit is so small that every weight is a whole number; sums over 2^41 pixels
    /// fit.
    struct Sums {
        std::uint64_t red = 0;
        std::uint64_t green = 0;
        std::uint64_t blue = 0;
        std::uint64_t alpha = 0;

        void add(const Sums& other, std::uint64_t weight) noexcept;
    };

    static Sums sumOf(std::span<const std::uint8_t> pixels) noexcept;
    void sumAcross(std::span<const std::uint8_t> row);
    void sumDown(std::uint64_t weight) noexcept;
    void appendAverages(std::vector<std::uint8_t>& shrunk);

    /// The units that a pixel of the given rows covers, and one of the result.
    std::uint64_t givenWidth_;
    std::uint64_t givenHeight_;
    std::uint64_t shrunkWidth_;
    std::uint64_t shrunkHeight_;
    /// Of the current given row, and of the current row of the result.
    std::vector<Sums> across_;
    std::vector<Sums> area_;
    /// The units that the current row of the result still lacks.
    std::uint64_t lacking_;
};

} // namespace tarnwick
