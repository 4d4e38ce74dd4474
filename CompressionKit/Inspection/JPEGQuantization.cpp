#include "Inspection/JPEGQuantization.h"

#include "Foundation/FileContents.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/BigEndian.h"
#include "Inspection/JPEGMarkers.h"

namespace tarnwick {
namespace {

constexpr std::size_t tableEntries = 64;
constexpr double finestMean = 2.0;

std::uint64_t sumOfEntries(std::span<const std::uint8_t> entries, std::size_t entryBytes) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < entries.size(); i += entryBytes) {
        sum += bigEndian(entries.subspan(i, entryBytes));
    }
    return sum;
}

enum class Search { absent, malformed, found };

/// Looks for table 0 among the tables of one segment, and sets `sum` to the sum of its entries.
Search findLuminanceTable(std::span<const std::uint8_t> tables, std::uint64_t& sum) {
    while (!tables.empty()) {
        const std::uint8_t header = tables[0];
        const std::size_t entryBytes = header < 16 ? 1 : 2;
        const std::size_t bytes = tableEntries * entryBytes;
        if (header > 31 || tables.size() < 1 + bytes) {
            return Search::malformed;
        }
        if ((header & 0x0FU) == 0) {
            sum = sumOfEntries(tables.subspan(1, bytes), entryBytes);
            return Search::found;
        }
        tables = tables.subspan(1 + bytes);
    }
    return Search::absent;
}

bool isFine(std::span<const std::uint8_t> file) {
    JPEGMarkerWalk walk(file);
    while (const auto segment = walk.next()) {
        if (segment->marker != JPEGMarker::quantizationTables) {
            continue;
        }
        std::uint64_t sum = 0;
        const Search search = findLuminanceTable(segment->payload, sum);
        if (search != Search::absent) {
            return search == Search::found && sum > 0 &&
                   static_cast<double>(sum) / tableEntries <= finestMean;
        }
    }
    return false;
}

} // namespace

bool hasFineJPEGQuantization(const URL& url) {
    try {
        return isFine(readFilePrefix(url, searchedJPEGBytes));
    } catch (const FileSystemError&) {
        return false;
    }
}

} // namespace tarnwick
