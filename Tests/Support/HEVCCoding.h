#pragma once

#include "Foundation/FileContents.h"
#include "Foundation/URL.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace tarnwick::test {

/// An HEVC picture as an item of a HEIF file holds it.
struct CodedPicture {
    /// The contents of its hvcC box.
    Bytes configuration;
    Bytes data;
};

struct PictureSize {
    std::int64_t width;
    std::int64_t height;
};

/// The 8-bit samples of one plane.
using Samples = std::function<std::uint8_t(std::int64_t x, std::int64_t y)>;

/// Encodes without loss and without converting anything: one plane is grey, three are green, blue and red.
/// The samples are scaled to their depth. Both sides must be even and at least 64.
CodedPicture codedPicture(PictureSize size, int bits, const std::vector<Samples>& planes);

/// The rows of a file's primary picture as the decoding library itself shows it, cropped, turned and
/// mirrored, RGBA.
Bytes shownByLibrary(const URL& url);

} // namespace tarnwick::test
