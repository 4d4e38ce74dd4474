#include "Support/GIFMaker.h"

#include <algorithm>
#include <bit>
#include <string_view>

namespace tarnwick::test {
namespace {

constexpr std::uint8_t extensionIntroducer = 0x21;
constexpr std::uint8_t graphicControl = 0xF9;
constexpr std::uint8_t commentLabel = 0xFE;
constexpr std::uint8_t applicationLabel = 0xFF;

void append(Bytes& bytes, std::span<const std::uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void append16(Bytes& bytes, std::int64_t value) {
    bytes.insert(bytes.end(), {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)});
}

std::string text16(int value) {
    return {static_cast<char>(value), static_cast<char>(value >> 8)};
}

/// The exponent less one, as descriptors hold the size of a palette.
unsigned paletteBits(const std::vector<Pixel>& palette) {
    return static_cast<unsigned>(std::bit_width(std::max<std::size_t>(palette.size(), 2) - 1)) - 1;
}

void appendPalette(Bytes& bytes, const std::vector<Pixel>& palette) {
    const std::size_t end = bytes.size() + (std::size_t{6} << paletteBits(palette));
    for (const Pixel& color : palette) {
        bytes.insert(bytes.end(), {color.red, color.green, color.blue});
    }
    bytes.resize(end);
}

Bytes control(const GIFFrame& frame) {
    if (!frame.delay && !frame.transparentIndex && !frame.disposal) {
        return {};
    }
    std::string block(1,
                      static_cast<char>(frame.disposal.value_or(0) << 2 | (frame.transparentIndex ? 1 : 0)));
    block += text16(frame.delay.value_or(0));
    block += static_cast<char>(frame.transparentIndex.value_or(0));
    return gifExtension(graphicControl, {block});
}

/// The rows of an interlaced image in the order of the file, else all from the top.
std::vector<std::int64_t> rowOrder(std::int64_t height, bool interlaced) {
    std::vector<std::int64_t> order;
    const auto add = [&](std::int64_t first, std::int64_t step) {
        for (std::int64_t y = first; y < height; y += step) {
            order.push_back(y);
        }
    };
    if (!interlaced) {
        add(0, 1);
        return order;
    }
    add(0, 8);
    add(4, 8);
    add(2, 4);
    add(1, 2);
    return order;
}

void appendFrame(Bytes& bytes, const GIFFrame& frame, const GIFOptions& options) {
    const std::int64_t width = frame.width.value_or(options.width);
    const std::int64_t height = frame.height.value_or(options.height);
    append(bytes, control(frame));
    append(bytes, frame.extensions);
    bytes.push_back(0x2C);
    for (const std::int64_t value : {frame.left, frame.top, width, height}) {
        append16(bytes, value);
    }
    const unsigned palette = frame.palette.empty() ? 0 : 0x80U | paletteBits(frame.palette);
    bytes.push_back(static_cast<std::uint8_t>(palette | (frame.interlaced ? 0x40U : 0U)));
    if (!frame.palette.empty()) {
        appendPalette(bytes, frame.palette);
    }
    Bytes indices;
    for (const std::int64_t y : rowOrder(height, frame.interlaced)) {
        for (std::int64_t x = 0; x < width; ++x) {
            indices.push_back(frame.pattern(x, y));
        }
    }
    append(bytes, gifImageData(indices));
}

Bytes header(const GIFOptions& options) {
    constexpr std::string_view signature = "GIF89a";
    Bytes bytes(signature.begin(), signature.end());
    append16(bytes, options.width);
    append16(bytes, options.height);
    const unsigned palette = options.palette.empty() ? 0x70U : 0xF0U | paletteBits(options.palette);
    bytes.insert(bytes.end(), {static_cast<std::uint8_t>(palette), 0, 0});
    if (!options.palette.empty()) {
        appendPalette(bytes, options.palette);
    }
    if (options.loopCount) {
        append(bytes, gifExtension(applicationLabel, {"NETSCAPE2.0", "\x01" + text16(*options.loopCount)}));
    }
    if (!options.comment.empty()) {
        append(bytes, gifExtension(commentLabel, {options.comment}));
    }
    append(bytes, options.extensions);
    return bytes;
}

/// Packs codes of one length from the lowest bit up.
class CodePacker {
public:
    explicit CodePacker(unsigned length) : length_(length) {}

    void add(unsigned code) {
        pending_ |= code << pendingBits_;
        pendingBits_ += length_;
        while (pendingBits_ >= 8) {
            flushByte();
        }
    }
    Bytes finish() {
        if (pendingBits_ > 0) {
            flushByte();
        }
        return std::move(bytes_);
    }

private:
    void flushByte() {
        bytes_.push_back(static_cast<std::uint8_t>(pending_));
        pending_ >>= 8U;
        pendingBits_ -= std::min(pendingBits_, 8U);
    }

    unsigned length_;
    unsigned pending_ = 0;
    unsigned pendingBits_ = 0;
    Bytes bytes_;
};

/// Clears the decoder's table just before it would lengthen the codes.
Bytes literalCodes(std::span<const std::uint8_t> indices, unsigned literalBits) {
    const unsigned clear = 1U << literalBits;
    CodePacker packer(literalBits + 1);
    for (std::size_t i = 0; i < indices.size(); ++i) {
        if (i % (clear - 2) == 0) {
            packer.add(clear);
        }
        packer.add(indices[i]);
    }
    packer.add(clear + 1);
    return packer.finish();
}

} // namespace

IndexPattern filledWith(std::uint8_t index) {
    return [index](std::int64_t, std::int64_t) { return index; };
}

IndexPattern indexedTexture(int colors, std::int64_t phase) {
    return [colors, phase](std::int64_t x, std::int64_t y) {
        return static_cast<std::uint8_t>(((x + phase) / 3 + y / 4 * 5) % colors);
    };
}

std::vector<Pixel> GIFOptions::rainbowPalette(int colors) {
    std::vector<Pixel> palette;
    for (int i = 0; i < colors; ++i) {
        const int level = i * 255 / std::max(colors - 1, 1);
        palette.push_back({static_cast<std::uint8_t>(level), static_cast<std::uint8_t>(i * 83),
                           static_cast<std::uint8_t>(255 - level)});
    }
    return palette;
}

GIFOptions gifAnimation(int frames, std::int64_t width, std::int64_t height) {
    GIFOptions options = {.width = width, .height = height, .frames = {}, .loopCount = 0};
    for (int i = 0; i < frames; ++i) {
        options.frames.push_back({.pattern = indexedTexture(16, i), .delay = 10});
    }
    return options;
}

Bytes gifExtension(std::uint8_t label, const std::vector<std::string>& parts) {
    Bytes bytes = {extensionIntroducer, label};
    for (const std::string& part : parts) {
        bytes.push_back(static_cast<std::uint8_t>(part.size()));
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    bytes.push_back(0);
    return bytes;
}

Bytes gifImageData(std::span<const std::uint8_t> indices) {
    const std::uint8_t highest =
        indices.empty() ? std::uint8_t{0} : *std::max_element(indices.begin(), indices.end());
    const unsigned literalBits = std::max(static_cast<unsigned>(std::bit_width(highest)), 2U);
    Bytes bytes = {static_cast<std::uint8_t>(literalBits)};
    const Bytes codes = literalCodes(indices, literalBits);
    for (std::span<const std::uint8_t> rest = codes; !rest.empty();) {
        const auto block = rest.first(std::min<std::size_t>(rest.size(), 255));
        bytes.push_back(static_cast<std::uint8_t>(block.size()));
        append(bytes, block);
        rest = rest.subspan(block.size());
    }
    bytes.push_back(0);
    return bytes;
}

Bytes gifBytes(const GIFOptions& options) {
    Bytes bytes = header(options);
    for (const GIFFrame& frame : options.frames) {
        appendFrame(bytes, frame, options);
    }
    append(bytes, options.extensionsAtEnd);
    bytes.push_back(0x3B);
    return bytes;
}

void writeGIF(const URL& url, const GIFOptions& options) {
    writeFile(url, gifBytes(options));
}

} // namespace tarnwick::test
