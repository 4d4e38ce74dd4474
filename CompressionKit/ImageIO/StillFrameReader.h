#pragma once

#include "ImageIO/ImageSource.h"

#include <stdexcept>

namespace tarnwick {

/// The base of readers of still pictures: one image, and no more rows than it has.
class StillFrameReader : public FrameReader {
public:
    bool next() final;
    /// Throws std::logic_error for more rows than are left.
    void readRows(std::span<std::uint8_t> rows) final;

protected:
    StillFrameReader(std::int64_t width, std::int64_t height);

    std::size_t rowBytes() const noexcept { return rowBytes_; }
    /// Decodes the next whole rows, one or more.
    virtual void decode(std::span<std::uint8_t> rows) = 0;
    /// Checks what follows the last row.
    virtual void finish() = 0;

private:
    enum class Position { before, within, after };

    std::size_t rowBytes_;
    std::size_t rowsLeft_;
    Position position_ = Position::before;
};

} // namespace tarnwick
