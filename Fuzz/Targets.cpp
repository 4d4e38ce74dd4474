#include "Engine/ResultValidation.h"
#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/Text.h"
#include "Foundation/URL.h"
#include "Foundation/WorkRegister.h"
#include "Fuzz/Target.h"
#include "History/UndoRecord.h"
#include "ImageIO/ColorProfile.h"
#include "ImageIO/ExifOrientation.h"
#include "ImageIO/HEIFBoxes.h"
#include "ImageIO/ImageSource.h"
#include "ImageIO/InputFile.h"
#include "ImageIO/PNGChunks.h"
#include "Inspection/GIFPalette.h"
#include "Inspection/JPEGMetadata.h"
#include "Inspection/JPEGQuantization.h"
#include "Support/MemoryFile.h"
#include "Support/TemporaryFolder.h"
#include "Tarnwick/Model/FinderRegistration.h"
#include "TarnwickFinderSync/ExtensionBundle.h"
#include "TarnwickFinderSync/ExtensionRegistry.h"
#include "TarnwickFinderSync/MenuTexts.h"
#include "TarnwickFinderSync/ThunarActions.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <vector>

namespace tarnwick::fuzz {
namespace {

using Input = std::span<const std::uint8_t>;

constexpr std::int64_t maximumFramesRead = 20;
constexpr std::size_t bandRows = 5;

/// Small enough that no input within them takes long or much memory.
ImageLimits shrunkenLimits() {
    ImageLimits limits;
    limits.maximumDimension = 4096;
    limits.maximumPixels = 1 << 18;
    limits.maximumBufferedPixels = 1 << 16;
    limits.maximumFrames = 1000;
    limits.maximumMetadataBytes = 1 << 18;
    limits.maximumScans = 50;
    limits.maximumInputs = 256;
    return limits;
}

std::string textOf(Input bytes) {
    return {bytes.begin(), bytes.end()};
}

void require(bool holds, std::string_view claim) {
    if (!holds) {
        fmt::print(stderr, "It does not hold that {}.\n", claim);
        std::abort();
    }
}

/// Calls the reader, which may refuse the bytes with one kind of error alone. libFuzzer reports any other.
template <typename Reader>
void mayRefuse(CompressionError::Case refusal, const Reader& reader) {
    try {
        reader();
    } catch (const CompressionError& error) {
        if (error.errorCase() != refusal) {
            throw;
        }
    }
}

/// A file in memory, in a folder of its own, for what reads or replaces a file by its name.
URL fileWith(Input bytes, std::string_view name = "file") {
    static const test::TemporaryFolder folder;
    return folder.file(name, textOf(bytes));
}

void readImage(FrameReader& frames, const ImageInfo& info) {
    const auto rowBytes = static_cast<std::size_t>(info.width) * 4;
    auto left = static_cast<std::size_t>(info.height);
    std::vector<std::uint8_t> band;
    while (left > 0) {
        const std::size_t count = std::min(left, bandRows);
        band.resize(count * rowBytes);
        frames.readRows(band);
        left -= count;
    }
}

void readPicture(Input bytes) {
    const test::MemoryFile file(bytes);
    mayRefuse(CompressionError::Case::invalidImage, [&] {
        const auto source = ImageSource::open(file.url(), shrunkenLimits());
        const auto frames = source->frames();
        for (std::int64_t index = 0; index < maximumFramesRead && frames->next(); ++index) {
            readImage(*frames, source->info());
        }
    });
}

/// Leaves the other decoders to their own targets.
template <char first, char second, std::size_t place>
void readPictureThatBegins(Input bytes) {
    if (bytes.size() > place + 1 && bytes[place] == static_cast<std::uint8_t>(first) &&
        bytes[place + 1] == static_cast<std::uint8_t>(second)) {
        readPicture(bytes);
    }
}

void readPNGChunksOf(Input bytes) {
    const test::MemoryFile memory(bytes);
    InputFile file(memory.url());
    static_cast<void>(readPNGChunks(file, shrunkenLimits()));
}

void rewriteJPEG(Input bytes) {
    const URL file = fileWith(bytes);
    static_cast<void>(JPEGMetadata::hasMultiplePictures(file));
    static_cast<void>(hasFineJPEGQuantization(file));
    mayRefuse(CompressionError::Case::invalidImage, [&] {
        JPEGMetadata::preserveOrientation(6, file);
        const std::string once = test::contents(file);
        JPEGMetadata::preserveOrientation(6, file);
        require(test::contents(file) == once, "a second rewriting changes nothing");
    });
}

void readHEIFBoxes(Input bytes) {
    std::vector<std::uint8_t> file(bytes.begin(), bytes.end());
    mayRefuse(CompressionError::Case::invalidImage, [&] {
        HEIFBoxes boxes(file, shrunkenLimits());
        static_cast<void>(boxes.alphaItems());
        static_cast<void>(boxes.pictureCount());
        static_cast<void>(boxes.geometry(boxes.primaryItem()));
        boxes.reduceToPrimaryPicture();
        static_cast<void>(HEIFBoxes(file, shrunkenLimits()).alphaItems());
    });
}

void readProfile(Input bytes) {
    if (const auto profile = ColorProfile::fromICC(bytes)) {
        require(!profile->name().empty() && isUTF8(profile->name()),
                "a profile has a name that can be shown");
        const auto made = profile->iccForRGB();
        require(made.empty() || ColorProfile::fromICC(made), "a made profile can be read");
    }
}

void readExif(Input bytes) {
    const int orientation = exifOrientation(bytes).value_or(1);
    require(orientation >= 1 && orientation <= 8, "an orientation is a number from 1 to 8");
}

void makeColorMap(Input bytes) {
    const URL map = fileWith({}, "map.gif");
    const test::MemoryFile file(bytes);
    mayRefuse(CompressionError::Case::invalidImage, [&] {
        GIFPalette::writeColorMap(file.url(), map);
        require(test::contents(map).size() == 799, "a colour map has 256 colours");
    });
}

void readRecord(Input bytes) {
    mayRefuse(CompressionError::Case::fileOperation, [&] {
        const UndoRecord record = UndoRecord::decode(bytes);
        require(UndoRecord::decode(record.encoded()) == record, "a record survives writing and reading");
    });
}

void readWorkNote(Input bytes) {
    constexpr auto name = "01234567-89AB-4DEF-8123-456789ABCDEF";
    const WorkRegister notes(fileWith(bytes, name).deletingLastPathComponent());
    require(notes.heldItems().empty(), "nobody holds the note");
}

void editThunarActions(Input bytes) {
    static const std::string action =
        fmt::format("<action><unique-id>{}</unique-id><command>x</command></action>\n", MenuTexts::uniqueID);
    const std::string text = textOf(bytes);
    mayRefuse(CompressionError::Case::fileOperation, [&] {
        static_cast<void>(ThunarActions::ourCommand(text));
        const std::string without = ThunarActions::withoutAction(text);
        require(!ThunarActions::ourCommand(without), "a removed action is gone");
        const std::string with = ThunarActions::withAction(without, action);
        require(ThunarActions::ourCommand(with) == "x", "an added action is found");
    });
}

void readExtensionBundle(Input bytes) {
    static const test::TemporaryFolder bundle;
    createDirectories(bundle / "Contents");
    static_cast<void>(bundle.file("Contents/Info.plist", textOf(bytes)));
    mayRefuse(CompressionError::Case::fileOperation,
              [] { static_cast<void>(ExtensionBundle::at(bundle.url())); });
}

void readRegistry(Input bytes) {
    mayRefuse(CompressionError::Case::fileOperation, [&] {
        const ExtensionRegistry registry(fileWith(bytes));
        static_cast<void>(registry.election("app.tarnwick"));
        static_cast<void>(registry.registrations("app.tarnwick"));
    });
}

void parseURI(Input bytes) {
    const auto url = URL::parse(textOf(bytes));
    require(!url || url->path().find('\0') == std::string::npos, "a path has no zero byte");
}

void readScore(Input bytes) {
    mayRefuse(CompressionError::Case::toolFailed, [&] { static_cast<void>(parseScore(textOf(bytes))); });
}

void readListing(Input bytes) {
    static_cast<void>(confirmsExtension(textOf(bytes), "app.tarnwick", URL::file("/a")));
}

constexpr std::array<Target, 17> targets = {{
    {"PNGFuzz", readPictureThatBegins<'\x89', 'P', 0>},
    {"JPEGFuzz", readPictureThatBegins<'\xFF', '\xD8', 0>},
    {"GIFFuzz", readPictureThatBegins<'G', 'I', 0>},
    {"HEIFFuzz", readPictureThatBegins<'f', 't', 4>},
    {"PNGChunksFuzz", readPNGChunksOf},
    {"JPEGMarkersFuzz", rewriteJPEG},
    {"HEIFBoxesFuzz", readHEIFBoxes},
    {"ICCFuzz", readProfile},
    {"ExifFuzz", readExif},
    {"ColorMapFuzz", makeColorMap},
    {"UndoRecordFuzz", readRecord},
    {"WorkNoteFuzz", readWorkNote},
    {"ThunarActionsFuzz", editThunarActions},
    {"ExtensionBundleFuzz", readExtensionBundle},
    {"ExtensionRegistryFuzz", readRegistry},
    {"URIFuzz", parseURI},
    {"ToolWordsFuzz",
     [](Input bytes) {
         readScore(bytes);
         readListing(bytes);
     }},
}};

} // namespace

const Target& targetNamed(std::string_view name) {
    const auto* const found =
        std::find_if(targets.begin(), targets.end(), [&](const Target& entry) { return entry.name == name; });
    if (found == targets.end()) {
        fmt::print(stderr, "No fuzz target is named {}.\n", name);
        std::exit(2);
    }
    return *found;
}

} // namespace tarnwick::fuzz
