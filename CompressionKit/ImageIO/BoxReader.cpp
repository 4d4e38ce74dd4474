#include "ImageIO/BoxReader.h"

#include "ImageIO/BigEndian.h"
#include "ImageIO/InvalidImage.h"

namespace tarnwick {

std::span<std::uint8_t> BoxReader::take(std::uint64_t count) {
    requireImage(count <= bytes_.size());
    const auto taken = bytes_.first(static_cast<std::size_t>(count));
    bytes_ = bytes_.subspan(taken.size());
    return taken;
}

std::uint64_t BoxReader::number(std::size_t bytes) {
    return bigEndian(take(bytes));
}

BoxReader::Kind BoxReader::kind() {
    const auto version = static_cast<unsigned>(number(1));
    return {version, static_cast<std::uint32_t>(number(3))};
}

Box BoxReader::box() {
    std::uint64_t size = number32();
    const auto name = take(4);
    const std::uint32_t type = BoxReader(name).number32();
    if (size == 0) {
        return {type, name, take(bytes_.size())};
    }
    std::uint64_t header = 8;
    if (size == 1) {
        size = number(8);
        header = 16;
    }
    requireImage(size >= header);
    return {type, name, take(size - header)};
}

std::optional<Box> childBox(std::span<std::uint8_t> parent, std::uint32_t type) {
    std::optional<Box> found;
    for (BoxReader reader(parent); !reader.atEnd();) {
        const Box box = reader.box();
        if (box.type != type) {
            continue;
        }
        requireImage(!found);
        found = box;
    }
    return found;
}

std::span<std::uint8_t> requiredChild(std::span<std::uint8_t> parent, std::uint32_t type) {
    const auto found = childBox(parent, type);
    requireImage(found.has_value());
    return found->payload;
}

} // namespace tarnwick
