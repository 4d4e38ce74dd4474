#include "Inspection/JPEGMarkers.h"

#include "ImageIO/BigEndian.h"

namespace tarnwick {
namespace {

constexpr std::size_t lengthBytes = 2;

bool startsImage(std::span<const std::uint8_t> file) {
    return file.size() >= 4 && file[0] == 0xFF && file[1] == 0xD8;
}

bool isStandalone(std::uint8_t marker) {
    return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8);
}

bool endsHeader(std::uint8_t marker) {
    return marker == JPEGMarker::endOfImage || marker == JPEGMarker::startOfScan;
}

} // namespace

JPEGMarkerWalk::JPEGMarkerWalk(std::span<const std::uint8_t> file, Standalone standalone)
    : file_(file), position_(startsImage(file) ? 2 : file.size()), standalone_(standalone) {}

std::optional<JPEGSegment> JPEGMarkerWalk::next() {
    while (position_ + 3 < file_.size() && file_[position_] == 0xFF) {
        const std::size_t code = codeAfterFillBytes();
        if (code == file_.size()) {
            break;
        }
        if (isSkipped(file_[code])) {
            position_ = code + 1;
            continue;
        }
        if (endsHeader(file_[code])) {
            imageData_ = file_.subspan(position_);
            break;
        }
        const auto segment = segmentAt(code);
        position_ = segment ? position_ + segment->whole.size() : file_.size();
        return segment;
    }
    position_ = file_.size();
    return std::nullopt;
}

/// The end of the file when nothing but fill bytes is left.
std::size_t JPEGMarkerWalk::codeAfterFillBytes() const noexcept {
    std::size_t code = position_ + 1;
    while (code < file_.size() && file_[code] == 0xFF) {
        ++code;
    }
    return code;
}

bool JPEGMarkerWalk::isSkipped(std::uint8_t marker) const noexcept {
    return standalone_ == Standalone::skipped && isStandalone(marker);
}

std::optional<JPEGSegment> JPEGMarkerWalk::segmentAt(std::size_t code) const noexcept {
    const auto rest = file_.subspan(code + 1);
    if (rest.size() < lengthBytes) {
        return std::nullopt;
    }
    const std::size_t length = bigEndian(rest.first(lengthBytes));
    if (length < lengthBytes || length > rest.size()) {
        return std::nullopt;
    }
    return JPEGSegment{.marker = file_[code],
                       .length = length,
                       .payload = rest.subspan(lengthBytes, length - lengthBytes),
                       .whole = file_.subspan(position_, code + 1 + length - position_)};
}

} // namespace tarnwick
