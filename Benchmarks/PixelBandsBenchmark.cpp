// Comparing two equal PNGs of 100 megapixels, the one without and the other with alpha: the time and the peak
// memory.

#include "ImageIO/ImageDestination.h"
#include "Inspection/ImageFacts.h"
#include "Measuring.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace {

using namespace tarnwick;

constexpr std::int64_t side = 10'000;
constexpr std::int64_t rowsPerWrite = 16;
constexpr double allowedMebibytes = 100;

/// Smooth slopes under a little noise, as in a photograph: neither flat nor incompressible.
void paintRow(std::span<std::uint8_t> row, std::int64_t y, std::uint32_t& noise) {
    for (std::int64_t x = 0; x < side; ++x) {
        noise = noise * 1664525U + 1013904223U;
        const std::uint32_t grain = noise >> 30U;
        const auto at = static_cast<std::size_t>(x) * 4;
        row[at] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(x >> 5) + grain);
        row[at + 1] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(y >> 5) + grain);
        row[at + 2] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(x + y) >> 6U);
        row[at + 3] = 255;
    }
}

void makePicture(const URL& url, bool hasAlpha) {
    ImageDestination destination(url, {.width = side, .height = side, .hasAlpha = hasAlpha, .profile = {}});
    std::vector<std::uint8_t> rows(static_cast<std::size_t>(rowsPerWrite * side * 4));
    const std::size_t rowBytes = rows.size() / rowsPerWrite;
    std::uint32_t noise = 1;
    for (std::int64_t y = 0; y < side; y += rowsPerWrite) {
        for (std::int64_t i = 0; i < rowsPerWrite; ++i) {
            paintRow(std::span(rows).subspan(static_cast<std::size_t>(i) * rowBytes, rowBytes), y + i, noise);
        }
        destination.writeRows(rows);
    }
    destination.commit();
}

/// Works in a process of its own, so that its memory does not count as this one's.
template <typename Work>
void inChild(Work work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(benchmark::run([&] {
            work();
            return 0;
        }));
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error("the pictures could not be made");
    }
}

double peakMebibytes() {
    rusage usage{};
    if (::getrusage(RUSAGE_SELF, &usage) != 0) {
        throw std::runtime_error("the memory could not be measured");
    }
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

int compare() {
    const ScopedDirectory folder(benchmark::newFolder());
    const URL plain = folder.url().appending("plain.png");
    const URL alpha = folder.url().appending("alpha.png");
    inChild([&] {
        makePicture(plain, false);
        makePicture(alpha, true);
    });
    const double before = peakMebibytes();
    bool equal = false;
    const double time = benchmark::seconds([&] { equal = ImageFacts::pixelsEqual(plain, alpha); });
    if (!equal) {
        throw std::runtime_error("the pictures are not held to be equal");
    }
    const double peak = peakMebibytes();
    fmt::print("2 × {} megapixels: {:.2f} s; peak memory {:.1f} MiB ({:.1f} before), {} {} MiB\n",
               side * side / 1'000'000, time, peak, before, peak < allowedMebibytes ? "under" : "NOT under",
               allowedMebibytes);
    return peak < allowedMebibytes ? 0 : 1;
}

} // namespace

int main() {
    return benchmark::run(compare);
}
