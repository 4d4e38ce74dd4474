#include "ImageIO/HEIFSequence.h"

#include "ImageIO/BoxReader.h"

#include <algorithm>

namespace tarnwick {
namespace {

std::int64_t sampleCount(std::span<std::uint8_t> sampleTable) {
    const auto sizes = childBox(sampleTable, fourCC("stsz"));
    BoxReader reader(sizes ? sizes->payload : requiredChild(sampleTable, fourCC("stz2")));
    reader.kind();
    reader.take(4);
    return reader.number32();
}

std::int64_t pictureSamples(std::span<std::uint8_t> track) {
    const auto media = requiredChild(track, fourCC("mdia"));
    BoxReader handler(requiredChild(media, fourCC("hdlr")));
    handler.kind();
    handler.take(4);
    const std::uint32_t kind = handler.number32();
    if (kind != fourCC("pict") && kind != fourCC("vide")) {
        return 0;
    }
    return sampleCount(requiredChild(requiredChild(media, fourCC("minf")), fourCC("stbl")));
}

} // namespace

std::int64_t longestPictureTrack(std::span<std::uint8_t> movie) {
    std::int64_t longest = 0;
    for (BoxReader reader(movie); !reader.atEnd();) {
        const Box box = reader.box();
        if (box.type == fourCC("trak")) {
            longest = std::max(longest, pictureSamples(box.payload));
        } else if (box.type == fourCC("mvex")) {
            longest = std::max<std::int64_t>(longest, 2);
        }
    }
    return longest;
}

} // namespace tarnwick
