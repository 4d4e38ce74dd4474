#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace tarnwick {

/// A box's type as the number that its four letters make.
constexpr std::uint32_t fourCC(std::string_view name) {
    std::uint32_t code = 0;
    for (const char letter : name) {
        code = code << 8U | static_cast<unsigned char>(letter);
    }
    return code;
}

/// A box of the ISO base media file format, in the bytes that it was found in.
struct Box {
    std::uint32_t type = 0;
    /// The four letters, for those who rename it.
    std::span<std::uint8_t> name;
    std::span<std::uint8_t> payload;
};

/// Reads big-endian values and boxes. Throws CompressionError::invalidImage for one that the bytes do not
/// hold whole.
class BoxReader {
public:
    explicit BoxReader(std::span<std::uint8_t> bytes) : bytes_(bytes) {}

    bool atEnd() const noexcept { return bytes_.empty(); }
    std::span<std::uint8_t> take(std::uint64_t count);
    /// An unsigned number of so many bytes, 8 at most.
    std::uint64_t number(std::size_t bytes);
    std::uint32_t number32() { return static_cast<std::uint32_t>(number(4)); }
    /// A full box's version and flags.
    struct Kind {
        unsigned version;
        std::uint32_t flags;
    };
    Kind kind();
    Box box();

private:
    std::span<std::uint8_t> bytes_;
};

/// The only box of this type among those that fill `parent`. Of two, other readers may take the other one, so
/// they are malformed: throws CompressionError::invalidImage.
std::optional<Box> childBox(std::span<std::uint8_t> parent, std::uint32_t type);
/// Its payload; throws also when there is none.
std::span<std::uint8_t> requiredChild(std::span<std::uint8_t> parent, std::uint32_t type);

} // namespace tarnwick
