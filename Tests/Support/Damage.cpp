#include "Support/Damage.h"

#include "Foundation/FileContents.h"

#include <filesystem>
#include <fstream>

namespace tarnwick::test {
namespace {

// Changes the file in place: file systems write a truncated and refilled file to the disk at once, which is a
// thousand times slower.
void put(const URL& url, std::size_t place, std::uint8_t byte) {
    std::fstream file(url.path(), std::ios::in | std::ios::out | std::ios::binary);
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file.seekp(static_cast<std::streamoff>(place));
    file.put(static_cast<char>(byte));
    file.close();
}

} // namespace

void forEachCut(const URL& url, const std::function<void(std::size_t length)>& check) {
    for (std::size_t length = std::filesystem::file_size(url.path()); length > 0; --length) {
        std::filesystem::resize_file(url.path(), length - 1);
        check(length - 1);
    }
}

void forEachFlippedByte(const URL& url, std::size_t count,
                        const std::function<void(std::size_t place)>& check) {
    const Bytes bytes = readFilePrefix(url, count);
    for (std::size_t place = 0; place < bytes.size(); ++place) {
        for (const unsigned mask : {0x01U, 0x80U, 0xFFU}) {
            put(url, place, static_cast<std::uint8_t>(bytes[place] ^ mask));
            check(place);
        }
        put(url, place, bytes[place]);
    }
}

} // namespace tarnwick::test
