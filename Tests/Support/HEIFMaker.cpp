#include "Support/HEIFMaker.h"

#include "Support/HEVCCoding.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>

namespace tarnwick::test {
namespace {

void append(Bytes& bytes, std::span<const std::uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void append(Bytes& bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

void appendNumber(Bytes& bytes, unsigned count, std::uint64_t value) {
    for (unsigned left = count; left > 0; --left) {
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 * (left - 1)));
    }
}

/// Numbers of so many bytes, one after the other.
Bytes numbers(unsigned count, std::initializer_list<std::int64_t> values) {
    Bytes bytes;
    for (const std::int64_t value : values) {
        appendNumber(bytes, count, static_cast<std::uint64_t>(value));
    }
    return bytes;
}

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes& part : parts) {
        append(bytes, part);
    }
    return bytes;
}

CodedPicture codedColors(const HEIFOptions& options, PictureSize size, std::int64_t left, std::int64_t top) {
    const auto plane = [&](std::uint8_t Pixel::*component) -> Samples {
        return [&options, left, top, component](std::int64_t x, std::int64_t y) {
            return options.pattern(left + x, top + y).*component;
        };
    };
    if (options.monochrome) {
        return codedPicture(size, options.bits, {plane(&Pixel::red)});
    }
    return codedPicture(size, options.bits, {plane(&Pixel::green), plane(&Pixel::blue), plane(&Pixel::red)});
}

Bytes sizeProperty(PictureSize size) {
    return fullBox("ispe", 0, 0, numbers(4, {size.width, size.height}));
}

Bytes auxiliaryType(std::string_view name) {
    Bytes text;
    append(text, name);
    text.push_back(0);
    return fullBox("auxC", 0, 0, text);
}

Bytes colorProperty(const HEIFOptions& options) {
    Bytes payload;
    if (options.codePoints) {
        append(payload, "nclx");
        append(payload, numbers(2, {options.codePoints->primaries, options.codePoints->transfer, 0}));
        payload.push_back(0x80);
    } else {
        append(payload, "prof");
        append(payload, options.icc);
    }
    return box("colr", payload);
}

Bytes movie(std::uint32_t samples) {
    const Bytes handler = fullBox("hdlr", 0, 0, joined({numbers(4, {0}), {'p', 'i', 'c', 't'}, Bytes(13)}));
    const Bytes sizes = fullBox("stsz", 0, 0, numbers(4, {1, samples}));
    const Bytes information = box("minf", box("stbl", sizes));
    return box("moov", box("trak", box("mdia", joined({handler, information}))));
}

/// Items, their properties and references, laid out as a file.
class Layout {
public:
    using ItemID = std::uint16_t;

    ItemID add(std::string_view type, Bytes data, const std::vector<Bytes>& properties,
               bool isHidden = false) {
        const auto id = static_cast<ItemID>(++items_);
        Bytes entry = numbers(2, {id, 0});
        append(entry, type);
        entry.push_back(0);
        append(entries_, fullBox("infe", 2, isHidden ? 1 : 0, entry));
        appendNumber(locations_, 2, id);
        append(locations_, numbers(2, {0, 1}));
        offsets_.push_back(locations_.size());
        append(locations_,
               numbers(4, {static_cast<std::int64_t>(data_.size()), static_cast<std::int64_t>(data.size())}));
        append(data_, data);
        appendNumber(associations_, 2, id);
        associations_.push_back(static_cast<std::uint8_t>(properties.size()));
        for (const Bytes& property : properties) {
            append(properties_, property);
            associations_.push_back(static_cast<std::uint8_t>(++propertyCount_));
        }
        return id;
    }

    void refer(std::string_view type, ItemID from, const std::vector<ItemID>& to) {
        Bytes payload = numbers(2, {from, static_cast<std::int64_t>(to.size())});
        for (const ItemID item : to) {
            appendNumber(payload, 2, item);
        }
        append(references_, box(type, payload));
    }

    Bytes file(ItemID primary, const std::string& brand, const Bytes& movieBox) const {
        Bytes brands(brand.begin(), brand.end());
        append(brands, numbers(4, {0}));
        append(brands, "mif1heic");
        const Bytes start = joined({box("ftyp", brands), movieBox});
        const std::size_t dataAt = start.size() + meta(primary, 0).size() + 8;
        return joined({start, meta(primary, dataAt), box("mdat", data_)});
    }

private:
    Bytes meta(ItemID primary, std::size_t dataAt) const {
        const Bytes handler =
            fullBox("hdlr", 0, 0, joined({numbers(4, {0}), {'p', 'i', 'c', 't'}, Bytes(13)}));
        const Bytes associations = fullBox("ipma", 0, 0, joined({numbers(4, {items_}), associations_}));
        return fullBox("meta", 0, 0,
                       joined({handler, fullBox("pitm", 0, 0, numbers(2, {primary})), locations(dataAt),
                               fullBox("iinf", 0, 0, joined({numbers(2, {items_}), entries_})),
                               references_.empty() ? Bytes() : fullBox("iref", 0, 0, references_),
                               box("iprp", joined({box("ipco", properties_), associations}))}));
    }

    Bytes locations(std::size_t dataAt) const {
        Bytes moved = locations_;
        for (const std::size_t place : offsets_) {
            std::uint64_t offset = dataAt;
            for (std::size_t byte = 0; byte < 4; ++byte) {
                offset += std::uint64_t{moved[place + byte]} << 8 * (3 - byte);
            }
            const Bytes written = numbers(4, {static_cast<std::int64_t>(offset)});
            std::copy(written.begin(), written.end(), moved.begin() + static_cast<std::ptrdiff_t>(place));
        }
        return fullBox("iloc", 0, 0, joined({{0x44, 0x00}, numbers(2, {items_}), moved}));
    }

    std::int64_t items_ = 0;
    std::int64_t propertyCount_ = 0;
    Bytes entries_;
    Bytes locations_;
    std::vector<std::size_t> offsets_;
    Bytes data_;
    Bytes properties_;
    Bytes associations_;
    Bytes references_;
};

/// Adds a picture of one piece, or its tiles and the grid over them.
Layout::ItemID addPicture(Layout& layout, const HEIFOptions& options) {
    std::vector<Bytes> properties = {sizeProperty({options.width, options.height})};
    if (options.codePoints || !options.icc.empty()) {
        properties.push_back(colorProperty(options));
    }
    properties.insert(properties.end(), options.transformations.begin(), options.transformations.end());
    const PictureSize tile = {options.width / options.columns, options.height / options.rows};
    if (options.columns * options.rows == 1) {
        CodedPicture picture = codedColors(options, tile, 0, 0);
        properties.insert(properties.begin(), box("hvcC", picture.configuration));
        return layout.add("hvc1", std::move(picture.data), properties);
    }
    std::vector<Layout::ItemID> tiles;
    for (int row = 0; row < options.rows; ++row) {
        for (int column = 0; column < options.columns; ++column) {
            CodedPicture part = codedColors(options, tile, column * tile.width, row * tile.height);
            tiles.push_back(layout.add("hvc1", std::move(part.data),
                                       {box("hvcC", part.configuration), sizeProperty(tile)}, true));
        }
    }
    const Bytes grid = joined({numbers(1, {0, 0, options.rows - 1, options.columns - 1}),
                               numbers(2, {options.width, options.height})});
    const auto item = layout.add("grid", grid, properties);
    layout.refer("dimg", item, tiles);
    return item;
}

void addAlpha(Layout& layout, Layout::ItemID picture, const HEIFOptions& options) {
    const PictureSize size = {options.alphaWidth.value_or(options.width), options.height};
    CodedPicture alpha = codedPicture(
        size, options.bits, {[&](std::int64_t x, std::int64_t y) { return options.pattern(x, y).alpha; }});
    std::vector<Bytes> properties = {box("hvcC", alpha.configuration), sizeProperty(size),
                                     auxiliaryType("urn:mpeg:hevc:2015:auxid:1")};
    const auto& transformations = options.alphaTransformations.value_or(options.transformations);
    properties.insert(properties.end(), transformations.begin(), transformations.end());
    const auto item = layout.add("hvc1", std::move(alpha.data), properties, true);
    layout.refer("auxl", item, {picture});
    if (options.premultiplied) {
        layout.refer("prem", picture, {item});
    }
}

/// Returns the tone map.
Layout::ItemID addToneMap(Layout& layout, Layout::ItemID picture, const HEIFOptions& options) {
    const PictureSize size = {64, 64};
    CodedPicture gain =
        codedPicture(size, 8, {[](std::int64_t x, std::int64_t) { return static_cast<std::uint8_t>(x); }});
    const auto gainMap = layout.add("hvc1", std::move(gain.data),
                                    {box("hvcC", gain.configuration), sizeProperty(size),
                                     auxiliaryType("urn:com:apple:photo:2020:aux:hdrgainmap")});
    const auto toneMap = layout.add("tmap", Bytes(60), {sizeProperty({options.width, options.height})});
    layout.refer("dimg", toneMap, {picture, gainMap});
    layout.refer("auxl", gainMap, {picture, toneMap});
    return toneMap;
}

} // namespace

Bytes heifBytes(const HEIFOptions& options) {
    Layout layout;
    const auto primary = addPicture(layout, options);
    for (int more = 1; more < options.pictures; ++more) {
        addPicture(layout, options);
    }
    if (options.alpha) {
        addAlpha(layout, primary, options);
    }
    std::vector<Layout::ItemID> described = {primary};
    if (options.toneMap) {
        described.push_back(addToneMap(layout, primary, options));
    }
    if (!options.exif.empty()) {
        const auto item = layout.add("Exif", joined({numbers(4, {0}), options.exif}), {}, true);
        layout.refer("cdsc", item, described);
    }
    return layout.file(primary, options.majorBrand,
                       options.sequenceSamples ? movie(*options.sequenceSamples) : Bytes());
}

void writeHEIF(const URL& url, const HEIFOptions& options) {
    writeFile(url, heifBytes(options));
}

Bytes irot(int quarterTurns) {
    return box("irot", numbers(1, {quarterTurns}));
}

Bytes imir(int axis) {
    return box("imir", numbers(1, {axis}));
}

Bytes clap(std::uint32_t width, std::uint32_t height, std::int32_t halvesRight, std::int32_t halvesDown) {
    return box("clap", numbers(4, {width, 1, height, 1, halvesRight, 2, halvesDown, 2}));
}

std::vector<Bytes> transformationsFor(int orientation) {
    const std::array<std::vector<Bytes>, 8> all = {{
        {},
        {imir(1)},
        {irot(2)},
        {imir(0)},
        {irot(3), imir(1)},
        {irot(3)},
        {irot(3), imir(0)},
        {irot(1)},
    }};
    return all.at(static_cast<std::size_t>(orientation - 1));
}

Bytes box(std::string_view type, std::span<const std::uint8_t> payload) {
    Bytes bytes = numbers(4, {static_cast<std::int64_t>(payload.size() + 8)});
    append(bytes, type);
    append(bytes, payload);
    return bytes;
}

Bytes fullBox(std::string_view type, std::uint8_t version, std::uint32_t flags,
              std::span<const std::uint8_t> payload) {
    return box(type, joined({numbers(1, {version}), numbers(3, {flags}), {payload.begin(), payload.end()}}));
}

} // namespace tarnwick::test
