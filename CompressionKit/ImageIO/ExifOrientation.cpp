#include "ImageIO/ExifOrientation.h"

#include "Foundation/Text.h"

#include <libexif/exif-data.h>

#include <limits>
#include <memory>
#include <vector>

namespace tarnwick {
namespace {

struct ExifDeleter {
    void operator()(ExifData* data) const noexcept { exif_data_unref(data); }
};
using ExifPointer = std::unique_ptr<ExifData, ExifDeleter>;

ExifPointer parsed(std::span<const std::uint8_t> exif) {
    std::vector<std::uint8_t> block;
    if (!startsWith(exif, exifHeader)) {
        block.assign(exifHeader.begin(), exifHeader.end());
    }
    block.insert(block.end(), exif.begin(), exif.end());

    ExifPointer data(exif_data_new());
    if (data) {
        // By default the library adds the entries that a block should have.
        exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
        exif_data_load_data(data.get(), block.data(), static_cast<unsigned>(block.size()));
    }
    return data;
}

} // namespace

std::optional<int> exifOrientation(std::span<const std::uint8_t> exif) {
    if (exif.size() > std::numeric_limits<unsigned>::max() - exifHeader.size()) {
        return std::nullopt;
    }
    const ExifPointer data = parsed(exif);
    if (!data) {
        return std::nullopt;
    }
    const ExifEntry* entry = exif_content_get_entry(data->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
    if (entry == nullptr || entry->format != EXIF_FORMAT_SHORT || entry->components != 1) {
        return std::nullopt;
    }
    const int value = exif_get_short(entry->data, exif_data_get_byte_order(data.get()));
    return value >= 1 && value <= 8 ? std::optional(value) : std::nullopt;
}

} // namespace tarnwick
