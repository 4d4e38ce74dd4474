// One program for all targets: the name of the link that starts it chooses the target.

#include "Fuzz/Target.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

const tarnwick::fuzz::Target* target = nullptr;

/// Without this, hardly any change to a PNG would pass the checksums of its chunks.
void repairChecksums(std::span<std::uint8_t> file) {
    constexpr std::array<std::uint8_t, 4> signature = {0x89, 'P', 'N', 'G'};
    constexpr std::size_t signatureBytes = 8;
    constexpr std::size_t frameBytes = 12;
    if (file.size() < signatureBytes || !std::equal(signature.begin(), signature.end(), file.begin())) {
        return;
    }
    for (auto rest = file.subspan(signatureBytes); rest.size() >= frameBytes;) {
        const std::size_t length =
            std::size_t{rest[0]} << 24U | std::size_t{rest[1]} << 16U | std::size_t{rest[2]} << 8U | rest[3];
        if (length > rest.size() - frameBytes) {
            return;
        }
        const auto sum = static_cast<std::uint32_t>(crc32_z(0, rest.data() + 4, length + 4));
        for (std::size_t index = 0; index < 4; ++index) {
            rest[length + 8 + index] = static_cast<std::uint8_t>(sum >> (24 - 8 * index));
        }
        rest = rest.subspan(length + frameBytes);
    }
}

} // namespace

/// libFuzzer's default mutation.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maximumSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maximumSize,
                                               unsigned seed) {
    const std::size_t mutated = LLVMFuzzerMutate(data, size, maximumSize);
    // Some checksums stay wrong.
    if (seed % 16 != 0) {
        repairChecksums({data, mutated});
    }
    return mutated;
}

extern "C" int LLVMFuzzerInitialize(const int* /*count*/, char*** arguments) {
    const std::string_view program = (*arguments)[0];
    target = &tarnwick::fuzz::targetNamed(program.substr(program.rfind('/') + 1));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    target->read({data, size});
    return 0;
}
