#include "ImageIO/HEIFBoxes.h"

#include "Foundation/CompressionError.h"
#include "ImageIO/Orientation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace tarnwick {
namespace {

using Bytes = std::span<std::uint8_t>;

void require(bool condition) {
    if (!condition) {
        throw CompressionError::invalidImage();
    }
}

constexpr std::uint32_t itemSize = fourCC("ispe");
constexpr std::uint32_t crop = fourCC("clap");
constexpr std::uint32_t rotation = fourCC("irot");
constexpr std::uint32_t mirroring = fourCC("imir");
constexpr std::uint32_t auxiliaryType = fourCC("auxC");

constexpr std::uint32_t auxiliary = fourCC("auxl");
constexpr std::uint32_t thumbnail = fourCC("thmb");
constexpr std::uint32_t description = fourCC("cdsc");
constexpr std::uint32_t derivation = fourCC("dimg");

/// Items that are pictures, coded or derived. A tone map ("tmap") is no picture of its own.
constexpr std::array pictureTypes = {
    fourCC("hvc1"), fourCC("hev1"), fourCC("grid"), fourCC("iden"), fourCC("iovl"), fourCC("av01"),
    fourCC("avc1"), fourCC("vvc1"), fourCC("evc1"), fourCC("jpeg"), fourCC("j2k1"), fourCC("unci"),
};

/// An overlay of grids of cropped pictures nests three deep.
constexpr int maximumNesting = 4;
/// Pictures that one is put together from, over all levels.
constexpr std::size_t maximumInputs = 65'536;
constexpr std::size_t maximumMetaBytes = std::size_t{64} << 20U;
/// The most that an association can count to.
constexpr std::size_t maximumProperties = 0x7FFF;

constexpr std::array<std::string_view, 3> alphaTypes = {
    "urn:mpeg:hevc:2015:auxid:1",
    "urn:mpeg:avc:2015:auxid:1",
    "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha",
};

std::int64_t sampleCount(Bytes sampleTable) {
    const auto sizes = childBox(sampleTable, fourCC("stsz"));
    BoxReader reader(sizes ? sizes->payload : requiredChild(sampleTable, fourCC("stz2")));
    reader.kind();
    reader.take(4);
    return reader.number32();
}

std::int64_t pictureSamples(Bytes track) {
    const Bytes media = requiredChild(track, fourCC("mdia"));
    BoxReader handler(requiredChild(media, fourCC("hdlr")));
    handler.kind();
    handler.take(4);
    const std::uint32_t kind = handler.number32();
    if (kind != fourCC("pict") && kind != fourCC("vide")) {
        return 0;
    }
    return sampleCount(requiredChild(requiredChild(media, fourCC("minf")), fourCC("stbl")));
}

std::int64_t longestTrack(Bytes movie) {
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

/// A fraction in two words; offsets are signed.
double fraction(BoxReader& reader, bool isSigned) {
    const std::uint32_t numerator = reader.number32();
    const std::uint32_t denominator = reader.number32();
    require(denominator != 0);
    return (isSigned ? static_cast<double>(static_cast<std::int32_t>(numerator))
                     : static_cast<double>(numerator)) /
           denominator;
}

struct Extent {
    std::int64_t start;
    std::int64_t length;
};

/// One direction of a crop, whose offset is that of its centre from the picture's.
Extent cropExtent(double length, double offset, std::int64_t whole) {
    const std::int64_t rounded = std::llround(length);
    const std::int64_t start = std::llround(offset + (static_cast<double>(whole) - length) / 2);
    require(rounded >= 1 && start >= 0 && start <= whole - rounded);
    return {start, rounded};
}

void applyCrop(HEIFGeometry& geometry, Bytes payload) {
    BoxReader reader(payload);
    const double width = fraction(reader, false);
    const double height = fraction(reader, false);
    const double right = fraction(reader, true);
    const double down = fraction(reader, true);
    const bool swaps = swapsSides(geometry.orientation);
    const Extent across = cropExtent(width, right, swaps ? geometry.height : geometry.width);
    const Extent along = cropExtent(height, down, swaps ? geometry.width : geometry.height);

    const auto stored = [&](std::int64_t x, std::int64_t y) {
        return storedPosition({x, y}, geometry.width, geometry.height, geometry.orientation);
    };
    const PixelPosition one = stored(across.start, along.start);
    const PixelPosition other = stored(across.start + across.length - 1, along.start + along.length - 1);
    geometry.left += std::min(one.x, other.x);
    geometry.top += std::min(one.y, other.y);
    geometry.width = swaps ? along.length : across.length;
    geometry.height = swaps ? across.length : along.length;
}

void applyTransformation(HEIFGeometry& geometry, std::uint32_t type, Bytes payload) {
    constexpr std::array<int, 4> rotations = {1, 8, 3, 6};
    constexpr std::array<int, 2> mirrorings = {4, 2};
    if (type == crop) {
        applyCrop(geometry, payload);
    } else if (type == rotation) {
        const auto quarterTurns = static_cast<std::size_t>(BoxReader(payload).number(1) & 3U);
        geometry.orientation = combinedOrientation(geometry.orientation, rotations.at(quarterTurns));
    } else if (type == mirroring) {
        const auto axis = static_cast<std::size_t>(BoxReader(payload).number(1) & 1U);
        geometry.orientation = combinedOrientation(geometry.orientation, mirrorings.at(axis));
    }
}

using Derivations = std::map<std::uint32_t, std::vector<std::uint32_t>>;

/// Adds the item and the pictures that it is put together from, each as often as it is used.
void collectInputs(const Derivations& derivations, std::uint32_t item, int nesting,
                   std::vector<std::uint32_t>& inputs) {
    require(nesting <= maximumNesting && inputs.size() < maximumInputs);
    inputs.push_back(item);
    const auto own = derivations.find(item);
    if (own == derivations.end()) {
        return;
    }
    for (const std::uint32_t input : own->second) {
        collectInputs(derivations, input, nesting + 1, inputs);
    }
}

/// The name is empty where there is no such box.
void rename(Bytes name, std::string_view newName) {
    std::copy_n(newName.begin(), name.size(), name.begin());
}

} // namespace

HEIFBoxes::HEIFBoxes(std::span<std::uint8_t> file) {
    readMeta(requiredChild(file, fourCC("meta")));
    checkDerivations();
    if (const auto movie = childBox(file, fourCC("moov"))) {
        sequenceLength_ = longestTrack(movie->payload);
        movieName_ = movie->name;
    }
}

void HEIFBoxes::readMeta(std::span<std::uint8_t> meta) {
    require(meta.size() >= 4 && meta.size() <= maximumMetaBytes);
    const Bytes children = meta.subspan(4);
    BoxReader primary(requiredChild(children, fourCC("pitm")));
    primaryItem_ = static_cast<std::uint32_t>(primary.number(primary.kind().version == 0 ? 2 : 4));
    itemTable_ = requiredChild(children, fourCC("iinf"));
    if (const auto references = childBox(children, fourCC("iref"))) {
        referenceTable_ = references->payload;
    }
    const Bytes itemProperties = requiredChild(children, fourCC("iprp"));
    for (BoxReader reader(requiredChild(itemProperties, fourCC("ipco")));
         !reader.atEnd() && properties_.size() < maximumProperties;) {
        properties_.push_back(reader.box());
    }
    for (BoxReader reader(itemProperties); !reader.atEnd();) {
        const Box box = reader.box();
        if (box.type == fourCC("ipma")) {
            readAssociations(box.payload);
        }
    }
}

void HEIFBoxes::readAssociations(std::span<std::uint8_t> table) {
    BoxReader reader(table);
    const auto [version, flags] = reader.kind();
    const bool isWide = (flags & 1U) != 0;
    for (std::uint32_t entries = reader.number32(); entries > 0; --entries) {
        const auto item = static_cast<std::uint32_t>(reader.number(version == 0 ? 2 : 4));
        const auto [entry, isNew] = associations_.try_emplace(item);
        require(isNew);
        for (std::uint64_t count = reader.number(1); count > 0; --count) {
            const Bytes place = reader.take(isWide ? 2 : 1);
            const std::uint64_t index = BoxReader(place).number(place.size()) & (isWide ? 0x7FFFU : 0x7FU);
            require(index <= properties_.size());
            if (index > 0) {
                entry->second.push_back({place.data(), isWide, static_cast<std::size_t>(index - 1)});
            }
        }
    }
}

const std::vector<HEIFBoxes::Association>& HEIFBoxes::associations(std::uint32_t item) const {
    const auto found = associations_.find(item);
    require(found != associations_.end());
    return found->second;
}

std::vector<HEIFBoxes::Reference> HEIFBoxes::references() const {
    std::vector<Reference> found;
    if (referenceTable_.empty()) {
        return found;
    }
    BoxReader reader(referenceTable_);
    const std::size_t idBytes = reader.kind().version == 0 ? 2 : 4;
    while (!reader.atEnd()) {
        const Box box = reader.box();
        BoxReader items(box.payload);
        Reference reference = {box, static_cast<std::uint32_t>(items.number(idBytes)), {}};
        for (std::uint64_t count = items.number(2); count > 0; --count) {
            reference.to.push_back(static_cast<std::uint32_t>(items.number(idBytes)));
        }
        found.push_back(std::move(reference));
    }
    return found;
}

HEIFGeometry HEIFBoxes::geometry(std::uint32_t item) const {
    const auto& used = associations(item);
    const auto size = std::find_if(used.begin(), used.end(), [&](const Association& association) {
        return properties_[association.property].type == itemSize;
    });
    require(size != used.end());
    BoxReader reader(properties_[size->property].payload);
    reader.kind();
    HEIFGeometry geometry;
    geometry.width = geometry.codedWidth = reader.number32();
    geometry.height = geometry.codedHeight = reader.number32();
    for (const Association& association : used) {
        const Box& property = properties_[association.property];
        applyTransformation(geometry, property.type, property.payload);
    }
    return geometry;
}

bool HEIFBoxes::isAlpha(std::uint32_t item) const {
    const auto found = associations_.find(item);
    if (found == associations_.end()) {
        return false;
    }
    const auto& used = found->second;
    return std::any_of(used.begin(), used.end(), [&](const Association& association) {
        const Box& property = properties_[association.property];
        if (property.type != auxiliaryType || property.payload.size() < 4) {
            return false;
        }
        const auto text = property.payload.subspan(4);
        const std::string name(text.begin(), std::find(text.begin(), text.end(), 0));
        return std::find(alphaTypes.begin(), alphaTypes.end(), name) != alphaTypes.end();
    });
}

std::vector<std::uint32_t> HEIFBoxes::alphaItems() const {
    std::vector<std::uint32_t> items;
    for (const Reference& reference : references()) {
        const bool isOfPrimary =
            std::find(reference.to.begin(), reference.to.end(), primaryItem_) != reference.to.end();
        if (reference.box.type == auxiliary && isOfPrimary && isAlpha(reference.from)) {
            items.push_back(reference.from);
        }
    }
    return items;
}

/// The decoding library follows derivations without end, with a thread for each.
void HEIFBoxes::checkDerivations() const {
    Derivations derivations;
    for (const Reference& reference : references()) {
        if (reference.box.type == derivation) {
            auto& inputs = derivations[reference.from];
            inputs.insert(inputs.end(), reference.to.begin(), reference.to.end());
        }
    }
    std::vector<std::uint32_t> inputs;
    collectInputs(derivations, primaryItem_, 0, inputs);
    for (const std::uint32_t alpha : alphaItems()) {
        collectInputs(derivations, alpha, 0, inputs);
    }
    const std::set<std::uint32_t> pieces(inputs.begin() + 1, inputs.end());
    for (const Reference& reference : references()) {
        const bool isOfPiece = std::any_of(reference.to.begin(), reference.to.end(),
                                           [&](std::uint32_t item) { return pieces.contains(item); });
        require(reference.box.type != auxiliary || !isOfPiece || !isAlpha(reference.from));
    }
}

std::int64_t HEIFBoxes::pictureCount() const {
    std::set<std::uint32_t> dependent;
    for (const Reference& reference : references()) {
        if (reference.box.type == auxiliary || reference.box.type == thumbnail) {
            dependent.insert(reference.from);
        }
    }
    std::int64_t pictures = 0;
    BoxReader reader(itemTable_);
    reader.take(reader.kind().version == 0 ? 2 : 4);
    while (!reader.atEnd()) {
        BoxReader entry(reader.box().payload);
        const auto [version, flags] = entry.kind();
        if (version < 2) {
            continue;
        }
        const auto item = static_cast<std::uint32_t>(entry.number(version == 2 ? 2 : 4));
        entry.take(2);
        const bool isPicture =
            std::find(pictureTypes.begin(), pictureTypes.end(), entry.number32()) != pictureTypes.end();
        const bool isHidden = (flags & 1U) != 0;
        pictures += isPicture && !isHidden && !dependent.contains(item) ? 1 : 0;
    }
    return pictures;
}

void HEIFBoxes::removeTransformations(std::uint32_t item) {
    const auto& used = associations(item);
    const auto typeOf = [&](const Association& association) {
        return properties_[association.property].type;
    };
    const auto size = std::find_if(used.begin(), used.end(),
                                   [&](const auto& association) { return typeOf(association) == itemSize; });
    for (const Association& association : used) {
        const std::uint32_t type = typeOf(association);
        if (size == used.end() || (type != crop && type != rotation && type != mirroring)) {
            continue;
        }
        // Stating the size once more changes nothing; an empty entry would end some readers' search for
        // properties.
        const std::size_t index = size->property + 1;
        std::uint8_t* place = association.place;
        if (association.isWide) {
            *place++ = static_cast<std::uint8_t>(index >> 8U);
        }
        *place = static_cast<std::uint8_t>(index);
    }
}

void HEIFBoxes::reduceToPrimaryPicture() {
    const auto alpha = alphaItems();
    removeTransformations(primaryItem_);
    for (const std::uint32_t item : alpha) {
        removeTransformations(item);
    }
    for (const Reference& reference : references()) {
        const std::uint32_t type = reference.box.type;
        const bool isAlphaOfPrimary = std::find(alpha.begin(), alpha.end(), reference.from) != alpha.end() &&
                                      reference.to == std::vector{primaryItem_};
        if (type == thumbnail || type == description || (type == auxiliary && !isAlphaOfPrimary)) {
            rename(reference.box.name, "none");
        }
    }
    rename(movieName_, "free");
}

} // namespace tarnwick
