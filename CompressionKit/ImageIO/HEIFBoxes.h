#pragma once

#include "ImageIO/BoxReader.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace tarnwick {

/// How the pixels of a coded picture become what is shown: the part that stays after cropping, then its
/// orientation.
struct HEIFGeometry {
    std::int64_t codedWidth = 0;
    std::int64_t codedHeight = 0;
    /// In the coded picture, that is, before it is turned.
    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
    /// The EXIF orientation, 1 to 8, to which the rotations and mirrorings add up, in their order; 1 without
    /// any.
    int orientation = 1;

    friend bool operator==(const HEIFGeometry&, const HEIFGeometry&) = default;
};

/// The boxes of a HEIF file (ISO/IEC 14496-12 and 23008-12) that say what the decoding library applies or
/// leaves out without telling. Refers to the file's bytes, which must outlive it. Every operation throws
/// CompressionError::invalidImage for boxes that are malformed or contradict each other.
class HEIFBoxes {
public:
    /// Boxes that do not fill the file exactly, as in one that was cut, are malformed, and so are pictures
    /// that are put together from themselves.
    explicit HEIFBoxes(std::span<std::uint8_t> file);

    std::uint32_t primaryItem() const noexcept { return primaryItem_; }
    /// The items that are alpha pictures of the primary item.
    std::vector<std::uint32_t> alphaItems() const;
    HEIFGeometry geometry(std::uint32_t item) const;
    /// The pictures that stand for themselves: neither hidden nor belonging to another one as its thumbnail
    /// or auxiliary picture.
    std::int64_t pictureCount() const;
    /// The samples of the longest picture track, 0 without one; a movie in fragments counts as 2 at least.
    std::int64_t sequenceLength() const noexcept { return sequenceLength_; }

    /// Edits the file's bytes, without moving any, so that a decoder sees the primary item and its alpha
    /// alone: neither has a crop, rotation or mirroring any more, and no movie, thumbnail, metadata or other
    /// auxiliary picture is left that it could stumble over.
    void reduceToPrimaryPicture();

private:
    struct Association {
        std::uint8_t* place;
        bool isWide;
        std::size_t property;
    };
    struct Reference {
        Box box;
        std::uint32_t from;
        std::vector<std::uint32_t> to;
    };

    void readMeta(std::span<std::uint8_t> meta);
    void readAssociations(std::span<std::uint8_t> table);
    const std::vector<Association>& associations(std::uint32_t item) const;
    std::vector<Reference> references() const;
    bool isAlpha(std::uint32_t item) const;
    void checkDerivations() const;
    void removeTransformations(std::uint32_t item);

    std::uint32_t primaryItem_ = 0;
    std::int64_t sequenceLength_ = 0;
    std::vector<Box> properties_;
    std::map<std::uint32_t, std::vector<Association>> associations_;
    std::span<std::uint8_t> itemTable_;
    std::span<std::uint8_t> referenceTable_;
    std::span<std::uint8_t> movieName_;
};

} // namespace tarnwick
