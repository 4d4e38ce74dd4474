#pragma once

#include "Foundation/FileContents.h"
#include "Foundation/URL.h"
#include "Support/Pixel.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarnwick::test {

/// The colour index at each place of a frame, counted from the frame's own top-left.
using IndexPattern = std::function<std::uint8_t(std::int64_t x, std::int64_t y)>;

IndexPattern filledWith(std::uint8_t index);
/// Stripes and blocks of all of `colors` indices; moves by a pixel with each step of `phase`.
IndexPattern indexedTexture(int colors, std::int64_t phase = 0);

struct GIFFrame {
    std::int64_t left = 0;
    std::int64_t top = 0;
    /// Without a size the frame covers the screen.
    std::optional<std::int64_t> width = {};
    std::optional<std::int64_t> height = {};
    IndexPattern pattern = indexedTexture(16);
    /// The frame's own; without one it uses the file's.
    std::vector<Pixel> palette = {};
    bool interlaced = false;

    /// A graphic control extension is written when one of these is given. Hundredths of a second.
    std::optional<int> delay = {};
    std::optional<std::uint8_t> transparentIndex = {};
    std::optional<int> disposal = {};
    /// Whole extensions, made by gifExtension(), to stand between the control and the image.
    Bytes extensions = {};
};

/// An animation put together without a GIF library. Its data is LZW that only ever uses literal codes, so it
/// leaves the tools much to gain.
struct GIFOptions {
    std::int64_t width = 32;
    std::int64_t height = 24;
    /// The file's; may be empty. It is filled up with black to the next power of two.
    std::vector<Pixel> palette = rainbowPalette(16);
    std::vector<GIFFrame> frames = {GIFFrame{}};
    /// A NETSCAPE2.0 extension.
    std::optional<int> loopCount = {};
    std::string comment = {};
    /// Whole extensions before the first frame and before the trailer.
    Bytes extensions = {};
    Bytes extensionsAtEnd = {};

    static std::vector<Pixel> rainbowPalette(int colors);
};

Bytes gifBytes(const GIFOptions& options);
void writeGIF(const URL& url, const GIFOptions& options = {});

/// So many frames of moving texture, a tenth of a second each, for ever.
GIFOptions gifAnimation(int frames, std::int64_t width = 64, std::int64_t height = 48);

/// An extension of this label with one sub-block for each part.
Bytes gifExtension(std::uint8_t label, const std::vector<std::string>& parts);
/// An image's code size byte, sub-blocks and terminator.
Bytes gifImageData(std::span<const std::uint8_t> indices);

} // namespace tarnwick::test
