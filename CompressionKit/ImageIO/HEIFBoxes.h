#pragma once

#include "ImageIO/BoxReader.h"
#include "ImageIO/HEIFGeometry.h"
#include "ImageIO/ImageLimits.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <vector>

namespace tarnwick {

/// The boxes of a HEIF file (ISO/IEC 14496-12 and 23008-12) that state what the decoding library applies or
/// ignores silently. Refers to the file's bytes, which must outlive it. Every operation throws
/// CompressionError::invalidImage for boxes that are malformed or contradict each other.
class HEIFBoxes {
public:
    /// Boxes that do not fill the file exactly, as in a truncated file, are malformed. So are pictures that
    /// are derived from themselves, and those beyond the limits.
    explicit HEIFBoxes(std::span<std::uint8_t> file, const ImageLimits& limits = {});

    std::uint32_t primaryItem() const noexcept { return primaryItem_; }
    /// The items that are alpha pictures of the primary item.
    std::vector<std::uint32_t> alphaItems() const;
    HEIFGeometry geometry(std::uint32_t item) const;
    /// The pictures that are neither hidden nor the thumbnail or auxiliary picture of another one.
    std::int64_t pictureCount() const;
    /// What longestPictureTrack() finds; 0 without a movie.
    std::int64_t sequenceLength() const noexcept { return sequenceLength_; }

    /// Edits the file's bytes in place, so that a decoder sees only the primary item and its alpha, without
    /// crop, rotation and mirroring. Movies, thumbnails, metadata and other auxiliary pictures are hidden,
    /// since decoders refuse some of them.
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
    std::set<std::uint32_t> inputs() const;
    void checkDerivations() const;
    void removeTransformations(std::uint32_t item);

    ImageLimits limits_;
    std::uint32_t primaryItem_ = 0;
    std::int64_t sequenceLength_ = 0;
    std::vector<Box> properties_;
    std::map<std::uint32_t, std::vector<Association>> associations_;
    std::span<std::uint8_t> itemTable_;
    std::span<std::uint8_t> referenceTable_;
    std::span<std::uint8_t> movieName_;
};

} // namespace tarnwick
