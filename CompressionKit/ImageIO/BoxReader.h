#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace tarnwick {

/// A box's type as a number.
constexpr std::uint32_t fourCC(std::string_view name) {
    std::uint32_t code = 0;
    for (const char letter : name) {
        code = code << 8U | static_cast<unsigned char>(letter);
    }
    return code;
}

/// A box of the ISO base media file format. Refers to the bytes that it was read from.
struct Box {
    std::uint32_t type = 0;
    /// The four letters, which a caller may overwrite.
    std::span<std::uint8_t> name;
    std::span<std::uint8_t> payload;
};

/// Reads big-endian values and boxes. Throws CompressionError::invalidImage when the bytes end before them.
class BoxReader {
public:
    explicit BoxReader(std::span<std::uint8_t> bytes) : bytes_(bytes) {}

    bool atEnd() const noexcept { return bytes_.empty(); }
    std::span<std::uint8_t> take(std::uint64_t count);
    /// An unsigned number of up to eight bytes.
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

/// The only box of this type among those that fill `parent`. Two are malformed, as other readers may choose
/// the other one: throws CompressionError::invalidImage.
std::optional<Box> childBox(std::span<std::uint8_t> parent, std::uint32_t type);
/// The payload of that box. Throws CompressionError::invalidImage also when there is none.
std::span<std::uint8_t> requiredChild(std::span<std::uint8_t> parent, std::uint32_t type);

} // namespace tarnwick
