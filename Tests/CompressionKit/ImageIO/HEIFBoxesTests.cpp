#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "ImageIO/HEIFBoxes.h"

#include <gmock/gmock.h>

#include <initializer_list>
#include <string>
#include <string_view>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes& part : parts) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

Bytes box(std::string_view type, const Bytes& payload) {
    const std::size_t size = payload.size() + 8;
    Bytes header = {0, 0, static_cast<std::uint8_t>(size >> 8U), static_cast<std::uint8_t>(size)};
    header.insert(header.end(), type.begin(), type.end());
    return joined({header, payload});
}

/// A box with a version and flags.
Bytes fullBox(std::string_view type, std::uint8_t version, std::uint8_t flags, const Bytes& payload) {
    return box(type, joined({{version, 0, 0, flags}, payload}));
}

Bytes irot(std::uint8_t quarterTurns) {
    return box("irot", {quarterTurns});
}

Bytes imir(std::uint8_t axis) {
    return box("imir", {axis});
}

/// `right` and `down` move the crop's centre from the picture's, in half pixels.
Bytes clap(std::uint8_t width, std::uint8_t height, std::int8_t right, std::int8_t down) {
    const auto offset = [](std::int8_t value) -> Bytes {
        const std::uint8_t sign = value < 0 ? 255 : 0;
        return {sign, sign, sign, static_cast<std::uint8_t>(value), 0, 0, 0, 2};
    };
    return box(
        "clap",
        joined({{0, 0, 0, width, 0, 0, 0, 1, 0, 0, 0, height, 0, 0, 0, 1}, offset(right), offset(down)}));
}

Bytes ispe(std::uint8_t width, std::uint8_t height) {
    return fullBox("ispe", 0, 0, Bytes{0, 0, 0, width, 0, 0, 0, height});
}

Bytes alphaType() {
    const std::string text("urn:mpeg:mpegB:cicp:systems:auxiliary:alpha\0", 44);
    return fullBox("auxC", 0, 0, Bytes(text.begin(), text.end()));
}

Bytes infe(std::uint8_t item, std::string_view type, bool isHidden = false) {
    Bytes entry = {0, item, 0, 0};
    entry.insert(entry.end(), type.begin(), type.end());
    return fullBox("infe", 2, isHidden ? 1 : 0, entry);
}

/// The boxes of a file whose primary item is 1.
struct Structure {
    Bytes primary = fullBox("pitm", 0, 0, Bytes{0, 1});
    Bytes items = fullBox("iinf", 0, 0, joined({{0, 1}, infe(1, "hvc1")}));
    Bytes properties = joined({ispe(40, 20)});
    Bytes associations = fullBox("ipma", 0, 0, Bytes{0, 0, 0, 1, 0, 1, 1, 1});
    Bytes references = {};
    Bytes after = {};

    Bytes file() const {
        const Bytes itemProperties = box("iprp", joined({box("ipco", properties), associations}));
        return joined({box("ftyp", Bytes(8)),
                       fullBox("meta", 0, 0, joined({primary, items, itemProperties, references})), after});
    }
};

/// A picture of 40 × 20 with these transformations.
Structure transformed(const std::vector<Bytes>& transformations) {
    Structure structure;
    Bytes entries = {0, 0, 0, 1, 0, 1, static_cast<std::uint8_t>(transformations.size() + 1), 1};
    for (const Bytes& transformation : transformations) {
        structure.properties = joined({structure.properties, transformation});
        entries.push_back(static_cast<std::uint8_t>(entries.size() - 6));
    }
    structure.associations = fullBox("ipma", 0, 0, entries);
    return structure;
}

HEIFGeometry geometryOf(const Structure& structure) {
    Bytes bytes = structure.file();
    const HEIFBoxes boxes(bytes);
    return boxes.geometry(boxes.primaryItem());
}

bool isMalformed(const Structure& structure) {
    Bytes bytes = structure.file();
    try {
        const HEIFBoxes boxes(bytes);
        boxes.alphaItems();
        boxes.geometry(boxes.primaryItem());
        return false;
    } catch (const CompressionError& error) {
        return error.errorCase() == CompressionError::Case::invalidImage;
    }
}

std::int64_t sequenceLengthOf(const Bytes& movie) {
    Structure structure;
    structure.after = box("moov", movie);
    Bytes bytes = structure.file();
    return HEIFBoxes(bytes).sequenceLength();
}

Bytes track(std::string_view handler, const Bytes& sizes) {
    Bytes kind(4);
    kind.insert(kind.end(), handler.begin(), handler.end());
    return box("trak", box("mdia", joined({fullBox("hdlr", 0, 0, kind), box("minf", box("stbl", sizes))})));
}

TEST(HEIFBoxesTest, AddsTransformationsUpInTheirOrder) {
    EXPECT_EQ(geometryOf({}), (HEIFGeometry{40, 20, 0, 0, 40, 20, 1}));
    const std::vector<std::pair<std::vector<Bytes>, int>> cases = {
        {{irot(0)}, 1},          {{irot(1)}, 8},          {{irot(2)}, 3},          {{irot(3)}, 6},
        {{imir(0)}, 4},          {{imir(1)}, 2},          {{irot(1), imir(0)}, 5}, {{irot(1), imir(1)}, 7},
        {{imir(0), irot(1)}, 7}, {{imir(1), irot(1)}, 5}, {{irot(3), irot(3)}, 3}, {{imir(1), imir(0)}, 3},
    };
    for (const auto& [transformations, orientation] : cases) {
        const HEIFGeometry expected = {40, 20, 0, 0, 40, 20, orientation};
        EXPECT_EQ(geometryOf(transformed(transformations)), expected)
            << testing::PrintToString(transformations);
    }
}

TEST(HEIFBoxesTest, FindsCropsInTheCodedPicture) {
    const auto crop = [](const std::vector<Bytes>& transformations) {
        return geometryOf(transformed(transformations));
    };
    EXPECT_EQ(crop({clap(39, 19, -1, -1)}), (HEIFGeometry{40, 20, 0, 0, 39, 19, 1}));
    EXPECT_EQ(crop({clap(10, 6, 4, -6)}), (HEIFGeometry{40, 20, 17, 4, 10, 6, 1}));
    EXPECT_EQ(crop({clap(10, 6, 4, -6), irot(3)}), (HEIFGeometry{40, 20, 17, 4, 10, 6, 6}));
    // Shown turned clockwise, as 20 × 40: its right side is the top of the coded picture, its bottom the
    // right.
    EXPECT_EQ(crop({irot(3), clap(6, 10, 6, 4)}), (HEIFGeometry{40, 20, 17, 4, 10, 6, 6}));
    EXPECT_EQ(crop({clap(20, 10, 0, 0), imir(1), clap(4, 4, 8, 0)}), (HEIFGeometry{40, 20, 14, 8, 4, 4, 2}));
    for (const Bytes& bad :
         {clap(41, 20, 0, 0), clap(40, 20, 2, 0), clap(40, 18, 0, -3), clap(0, 20, 0, 0),
          box("clap", Bytes(32)), box("clap", Bytes(31, 1)), box("irot", {}), box("imir", {})}) {
        EXPECT_TRUE(isMalformed(transformed({bad}))) << testing::PrintToString(bad);
    }
}

TEST(HEIFBoxesTest, ReducesTheFileToItsPrimaryPictureInPlace) {
    Structure structure;
    structure.properties = joined({irot(1), ispe(40, 20), clap(10, 6, 0, 0), alphaType()});
    structure.associations =
        joined({fullBox("ipma", 0, 0, Bytes{0, 0, 0, 2, 0, 1, 3, 2, 0x81, 0x83, 0, 3, 3, 2, 1, 3}),
                fullBox("ipma", 1, 1, Bytes{0, 0, 0, 1, 0, 0, 0, 2, 4, 0x80, 1, 0, 2, 0, 3, 0, 4})});
    const Bytes depth = box("auxl", Bytes{0, 3, 0, 1, 0, 1});
    structure.references = fullBox(
        "iref", 0, 0,
        joined({box("auxl", Bytes{0, 2, 0, 1, 0, 1}), depth, box("cdsc", Bytes{0, 4, 0, 2, 0, 1, 0, 3})}));
    structure.after = box("moov", box("mvex", {}));
    Bytes bytes = structure.file();
    const std::size_t size = bytes.size();
    HEIFBoxes boxes(bytes);
    const HEIFGeometry turned = {40, 20, 17, 5, 6, 10, 8};
    const HEIFGeometry plain = {40, 20, 0, 0, 40, 20, 1};
    EXPECT_THAT(std::vector({boxes.geometry(1), boxes.geometry(2), boxes.geometry(3)}),
                testing::Each(turned));

    boxes.reduceToPrimaryPicture();
    const HEIFBoxes reduced(bytes);
    EXPECT_EQ(reduced.geometry(1), plain);
    EXPECT_EQ(reduced.geometry(2), plain) << "its alpha";
    EXPECT_EQ(reduced.geometry(3), turned) << "other items";
    EXPECT_EQ(reduced.sequenceLength(), 0);
    EXPECT_THAT(reduced.alphaItems(), ElementsAre(2));
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_EQ(text.find("cdsc"), std::string::npos);
    EXPECT_EQ(text.find("auxl"), text.rfind("auxl")) << "only that of alpha is left";
    EXPECT_EQ(bytes.size(), size);
}

TEST(HEIFBoxesTest, CountsThePicturesThatStandForThemselves) {
    Structure structure;
    const auto count = [&](const Bytes& items, const Bytes& references) {
        structure.items = fullBox("iinf", 0, 0, joined({{0, 0}, items}));
        structure.references = fullBox("iref", 0, 0, references);
        Bytes bytes = structure.file();
        return HEIFBoxes(bytes).pictureCount();
    };
    const Bytes first = infe(1, "grid");
    EXPECT_EQ(count(first, {}), 1);
    EXPECT_EQ(count(joined({first, infe(2, "hvc1"), infe(3, "hvc1", true), infe(4, "Exif")}), {}), 2);
    EXPECT_EQ(count(joined({first, infe(2, "hvc1")}), box("thmb", Bytes{0, 2, 0, 1, 0, 1})), 1);
    EXPECT_EQ(count(joined({first, infe(2, "hvc1")}), box("auxl", Bytes{0, 2, 0, 2, 0, 1, 0, 3})), 1);
    EXPECT_EQ(
        count(joined({first, infe(2, "hvc1"), infe(3, "tmap")}), box("dimg", Bytes{0, 3, 0, 2, 0, 1, 0, 2})),
        2);
    structure.items = fullBox("iinf", 1, 0,
                              joined({{0, 0, 0, 2},
                                      fullBox("infe", 0, 0, Bytes(20)),
                                      fullBox("infe", 3, 0, Bytes{0, 0, 0, 1, 0, 0, 'i', 'd', 'e', 'n'})}));
    Bytes bytes = structure.file();
    EXPECT_EQ(HEIFBoxes(bytes).pictureCount(), 1) << "wide numbers, and an entry without a type";
}

TEST(HEIFBoxesTest, FindsTheAlphaOfThePrimaryItem) {
    Structure structure;
    structure.properties =
        joined({ispe(40, 20), alphaType(), fullBox("auxC", 0, 0, Bytes{'u', 'r', 'n', 0})});
    structure.associations =
        fullBox("ipma", 0, 0, Bytes{0, 0, 0, 3, 0, 1, 1, 1, 0, 2, 2, 1, 2, 0, 3, 2, 1, 3});
    const auto items = [&](const Bytes& references) {
        structure.references = references;
        Bytes bytes = structure.file();
        return HEIFBoxes(bytes).alphaItems();
    };
    EXPECT_THAT(items({}), IsEmpty());
    EXPECT_THAT(items(fullBox("iref", 0, 0, box("auxl", Bytes{0, 2, 0, 1, 0, 1}))), ElementsAre(2));
    EXPECT_THAT(items(fullBox("iref", 1, 0, box("auxl", Bytes{0, 0, 0, 2, 0, 2, 0, 0, 0, 9, 0, 0, 0, 1}))),
                ElementsAre(2));
    EXPECT_THAT(items(fullBox("iref", 0, 0, box("auxl", Bytes{0, 3, 0, 1, 0, 1}))), IsEmpty()) << "not alpha";
    EXPECT_THAT(items(fullBox("iref", 0, 0, box("auxl", Bytes{0, 2, 0, 1, 0, 3}))), IsEmpty())
        << "of another item";
    EXPECT_THAT(items(fullBox("iref", 0, 0, box("thmb", Bytes{0, 2, 0, 1, 0, 1}))), IsEmpty());
    structure.references = fullBox("iref", 0, 0, box("auxl", Bytes{0, 2, 0, 2, 0, 1}));
    EXPECT_TRUE(isMalformed(structure)) << "fewer items than stated";
}

TEST(HEIFBoxesTest, RefusesPicturesPutTogetherFromThemselves) {
    const auto derived = [](std::uint8_t from, std::uint8_t to) {
        return box("dimg", Bytes{0, from, 0, 1, 0, to});
    };
    const auto refused = [](const Bytes& references) {
        Structure structure;
        structure.references = fullBox("iref", 0, 0, references);
        return isMalformed(structure);
    };
    const Bytes chain = joined({derived(1, 2), derived(2, 3), derived(3, 4)});
    EXPECT_FALSE(refused(chain));
    EXPECT_FALSE(refused(joined({chain, derived(5, 5)}))) << "not of the picture";
    EXPECT_TRUE(refused(derived(1, 1)));
    EXPECT_TRUE(refused(joined({chain, derived(4, 2)})));
    Bytes manifold = {0, 1, 1, 0};
    Bytes again = {0, 2, 1, 1};
    for (int input = 0; input < 257; ++input) {
        manifold.insert(manifold.end(), {0, 2});
        again.insert(again.end(), {0, 3});
    }
    manifold.resize(4 + 2 * 256);
    EXPECT_TRUE(refused(joined({box("dimg", manifold), box("dimg", again)})))
        << "65,792 pictures from 526 bytes";
}

TEST(HEIFBoxesTest, RefusesAlphaOfAPieceOfThePicture) {
    Structure structure;
    structure.properties = joined({ispe(40, 20), alphaType()});
    structure.associations = fullBox("ipma", 0, 0, Bytes{0, 0, 0, 3, 0, 1, 1, 1, 0, 2, 1, 1, 0, 3, 2, 1, 2});
    const Bytes tile = box("dimg", Bytes{0, 1, 0, 1, 0, 2});
    const auto refused = [&](const Bytes& references) {
        structure.references = fullBox("iref", 0, 0, references);
        return isMalformed(structure);
    };
    EXPECT_FALSE(refused(joined({tile, box("auxl", Bytes{0, 3, 0, 1, 0, 1})})));
    EXPECT_TRUE(refused(joined({tile, box("auxl", Bytes{0, 3, 0, 1, 0, 2})})));
    EXPECT_TRUE(refused(joined({tile, box("auxl", Bytes{0, 3, 0, 2, 0, 1, 0, 3})}))) << "alpha of alpha";
}

TEST(HEIFBoxesTest, CountsTheSamplesOfPictureTracks) {
    const auto sizes = [](std::string_view type, std::uint8_t count) {
        return fullBox(type, 0, 0, Bytes{0, 0, 0, 8, 0, 0, 0, count});
    };
    Structure still;
    Bytes bytes = still.file();
    EXPECT_EQ(HEIFBoxes(bytes).sequenceLength(), 0);
    EXPECT_EQ(sequenceLengthOf({}), 0);
    EXPECT_EQ(sequenceLengthOf(track("pict", sizes("stsz", 3))), 3);
    EXPECT_EQ(sequenceLengthOf(track("vide", sizes("stz2", 4))), 4);
    EXPECT_EQ(sequenceLengthOf(track("soun", sizes("stsz", 9))), 0);
    EXPECT_EQ(sequenceLengthOf(joined({track("pict", sizes("stsz", 1)), track("pict", sizes("stsz", 7))})),
              7);
    EXPECT_EQ(sequenceLengthOf(joined({box("mvex", {}), track("pict", sizes("stsz", 0))})), 2);
    EXPECT_THROW(sequenceLengthOf(track("pict", {})), CompressionError);
    EXPECT_THROW(sequenceLengthOf(box("trak", {})), CompressionError);
}

TEST(HEIFBoxesTest, RefusesStructuresThatContradictThemselves) {
    const Structure whole;
    EXPECT_FALSE(isMalformed(whole));
    const std::vector<Structure> malformed = {
        {.primary = {}},
        {.primary = joined({whole.primary, whole.primary})},
        {.primary = fullBox("pitm", 1, 0, Bytes{0, 1})},
        {.items = {}},
        {.properties = {}},
        {.properties = box("ispe", Bytes(11))},
        {.properties = Bytes(7)},
        {.associations = {}},
        {.associations = fullBox("ipma", 0, 0, Bytes{0, 0, 0, 1, 0, 1, 1, 2})},
        {.associations = fullBox("ipma", 0, 0, Bytes{0, 0, 0, 2, 0, 1, 1, 1})},
        {.associations = fullBox("ipma", 0, 0, Bytes{0, 0, 0, 2, 0, 1, 1, 1, 0, 1, 1, 1})},
        {.associations = joined({whole.associations, whole.associations})},
        {.after = fullBox("meta", 0, 0, {})},
        {.after = {0, 0, 0, 7, 'f', 'r', 'e', 'e'}},
        {.after = {0, 0, 0, 9, 'f', 'r', 'e', 'e'}},
        {.after = {0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 0, 15}},
        {.after = {0, 0, 0, 1, 'f', 'r', 'e', 'e', 255, 255, 255, 255, 255, 255, 255, 255}},
        {.after = {0, 0, 0}},
    };
    for (const Structure& structure : malformed) {
        EXPECT_TRUE(isMalformed(structure)) << testing::PrintToString(structure.file());
    }
    EXPECT_FALSE(isMalformed({.after = {0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 0, 17, 1}}))
        << "long size";
    EXPECT_FALSE(isMalformed({.after = {0, 0, 0, 0, 'm', 'd', 'a', 't', 1, 2}})) << "to the end of the file";
}

} // namespace
} // namespace tarnwick::test
