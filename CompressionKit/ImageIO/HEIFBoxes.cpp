#include "ImageIO/HEIFBoxes.h"

#include "ImageIO/HEIFSequence.h"
#include "ImageIO/InvalidImage.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace tarnwick {
namespace {

constexpr std::uint32_t itemSize = fourCC("ispe");
constexpr std::uint32_t auxiliaryType = fourCC("auxC");

constexpr std::uint32_t auxiliary = fourCC("auxl");
constexpr std::uint32_t thumbnail = fourCC("thmb");
constexpr std::uint32_t description = fourCC("cdsc");
constexpr std::uint32_t derivation = fourCC("dimg");

/// Items that are pictures, coded or derived. A tone map ("tmap") is not a picture.
constexpr std::array pictureTypes = {
    fourCC("hvc1"), fourCC("hev1"), fourCC("grid"), fourCC("iden"), fourCC("iovl"), fourCC("av01"),
    fourCC("avc1"), fourCC("vvc1"), fourCC("evc1"), fourCC("jpeg"), fourCC("j2k1"), fourCC("unci"),
};

constexpr std::array<std::string_view, 3> alphaTypes = {
    "urn:mpeg:hevc:2015:auxid:1",
    "urn:mpeg:avc:2015:auxid:1",
    "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha",
};

using Derivations = std::map<std::uint32_t, std::vector<std::uint32_t>>;

/// Adds the item and the pictures that it is derived from, each as often as it is used.
void collectInputs(const Derivations& derivations, std::uint32_t item, int nesting, const ImageLimits& limits,
                   std::vector<std::uint32_t>& inputs) {
    requireImage(nesting <= limits.maximumNesting && inputs.size() < limits.maximumInputs);
    inputs.push_back(item);
    const auto own = derivations.find(item);
    if (own == derivations.end()) {
        return;
    }
    for (const std::uint32_t input : own->second) {
        collectInputs(derivations, input, nesting + 1, limits, inputs);
    }
}

/// Writes over a box's name, which is empty for a box that does not exist.
void rename(std::span<std::uint8_t> name, std::string_view newName) {
    std::copy_n(newName.begin(), name.size(), name.begin());
}

} // namespace

HEIFBoxes::HEIFBoxes(std::span<std::uint8_t> file, const ImageLimits& limits) : limits_(limits) {
    readMeta(requiredChild(file, fourCC("meta")));
    checkDerivations();
    if (const auto movie = childBox(file, fourCC("moov"))) {
        sequenceLength_ = longestPictureTrack(movie->payload);
        movieName_ = movie->name;
    }
}

void HEIFBoxes::readMeta(std::span<std::uint8_t> meta) {
    requireImage(meta.size() >= 4 && std::cmp_less_equal(meta.size(), limits_.maximumMetadataBytes));
    const auto children = meta.subspan(4);
    BoxReader primary(requiredChild(children, fourCC("pitm")));
    primaryItem_ = static_cast<std::uint32_t>(primary.number(primary.kind().version == 0 ? 2 : 4));
    itemTable_ = requiredChild(children, fourCC("iinf"));
    if (const auto references = childBox(children, fourCC("iref"))) {
        referenceTable_ = references->payload;
    }
    const auto itemProperties = requiredChild(children, fourCC("iprp"));
    for (BoxReader reader(requiredChild(itemProperties, fourCC("ipco")));
         !reader.atEnd() && properties_.size() < limits_.maximumProperties;) {
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
        requireImage(isNew);
        for (std::uint64_t count = reader.number(1); count > 0; --count) {
            const auto place = reader.take(isWide ? 2 : 1);
            const std::uint64_t index = BoxReader(place).number(place.size()) & (isWide ? 0x7FFFU : 0x7FU);
            requireImage(index <= properties_.size());
            if (index > 0) {
                entry->second.push_back({place.data(), isWide, static_cast<std::size_t>(index - 1)});
            }
        }
    }
}

const std::vector<HEIFBoxes::Association>& HEIFBoxes::associations(std::uint32_t item) const {
    const auto found = associations_.find(item);
    requireImage(found != associations_.end());
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
    requireImage(size != used.end());
    auto geometry = HEIFGeometry::ofSizeProperty(properties_[size->property].payload);
    for (const Association& association : used) {
        geometry.apply(properties_[association.property]);
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

/// The items that the primary item and its alpha are derived from.
std::set<std::uint32_t> HEIFBoxes::inputs() const {
    Derivations derivations;
    for (const Reference& reference : references()) {
        if (reference.box.type == derivation) {
            auto& inputs = derivations[reference.from];
            inputs.insert(inputs.end(), reference.to.begin(), reference.to.end());
        }
    }
    std::vector<std::uint32_t> collected;
    collectInputs(derivations, primaryItem_, 0, limits_, collected);
    for (const std::uint32_t alpha : alphaItems()) {
        collectInputs(derivations, alpha, 0, limits_, collected);
    }
    return {collected.begin() + 1, collected.end()};
}

/// The decoding library follows derivations without end, with a thread for each, and looks for the alpha of
/// every input.
void HEIFBoxes::checkDerivations() const {
    const std::set<std::uint32_t> pieces = inputs();
    for (const Reference& reference : references()) {
        const bool isOfPiece = std::any_of(reference.to.begin(), reference.to.end(),
                                           [&](std::uint32_t item) { return pieces.contains(item); });
        requireImage(reference.box.type != auxiliary || !isOfPiece || !isAlpha(reference.from));
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
        if (size == used.end() || !HEIFGeometry::isTransformation(type)) {
            continue;
        }
        // Stating the size again changes nothing. An empty entry would end some readers' search for
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
