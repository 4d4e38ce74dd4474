#include "Inspection/JPEGMarkers.h"

namespace tarnwick {

bool JPEGMarker::startsImage(std::span<const std::uint8_t> file) {
    return file.size() >= 4 && file[0] == 0xFF && file[1] == 0xD8;
}

JPEGMarkerWalk::JPEGMarkerWalk(std::span<const std::uint8_t> file)
    : file_(file), position_(JPEGMarker::startsImage(file) ? 2 : file.size()) {}

std::optional<JPEGSegment> JPEGMarkerWalk::next() {
    while (position_ + 3 < file_.size() && file_[position_] == 0xFF) {
        std::size_t code = position_ + 1;
        while (code < file_.size() && file_[code] == 0xFF) {
            ++code;
        }
        if (code >= file_.size()) {
            break;
        }
        const std::uint8_t marker = file_[code];
        if (JPEGMarker::isStandalone(marker)) {
            position_ = code + 1;
            continue;
        }
        if (marker == JPEGMarker::endOfImage || marker == JPEGMarker::startOfScan ||
            code + 2 >= file_.size()) {
            break;
        }
        const std::size_t length = static_cast<std::size_t>(file_[code + 1]) << 8U | file_[code + 2];
        const std::size_t end = code + 1 + length;
        if (length < 2 || end > file_.size()) {
            break;
        }
        position_ = end;
        return JPEGSegment{marker, length, file_.subspan(code + 3, length - 2)};
    }
    position_ = file_.size();
    return std::nullopt;
}

} // namespace tarnwick
