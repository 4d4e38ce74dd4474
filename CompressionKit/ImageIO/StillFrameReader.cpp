#include "ImageIO/StillFrameReader.h"

#include "ImageIO/Bitmap.h"

#include <stdexcept>

namespace tarnwick {

StillFrameReader::StillFrameReader(std::int64_t width, std::int64_t height)
    : rowBytes_(static_cast<std::size_t>(width * bytesPerPixel)),
      rowsLeft_(static_cast<std::size_t>(height)) {}

bool StillFrameReader::next() {
    position_ = position_ == Position::before ? Position::within : Position::after;
    return position_ == Position::within;
}

void StillFrameReader::readRows(std::span<std::uint8_t> rows) {
    const std::size_t count = rows.size() / rowBytes_;
    if (position_ != Position::within || rows.size() % rowBytes_ != 0 || count > rowsLeft_) {
        throw std::logic_error("no such rows to read");
    }
    if (count == 0) {
        return;
    }
    decode(rows);
    rowsLeft_ -= count;
    if (rowsLeft_ == 0) {
        finish();
    }
}

} // namespace tarnwick
