// Thumbnails of 160 pixels of a JPEG and a PNG of 100 megapixels beside decoding the same files whole: the
// time and the peak memory, each in a process of its own.

#include "Foundation/Directory.h"
#include "Foundation/FileDescriptor.h"
#include "Foundation/FileOperations.h"
#include "ImageIO/ImageDestination.h"
#include "Inspection/ImageRendering.h"
#include "Measuring.h"

#include <jpeglib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace tarnwick;

constexpr std::int64_t side = 10'000;
constexpr std::int64_t thumbnailSide = 160;
constexpr int usualQuality = 75;
constexpr int highQuality = 90;
constexpr int rounds = 3;
constexpr double allowedMebibytes = 64;
constexpr double allowedRatio = 0.2;

struct Measurement {
    double seconds = 0;
    double peakMebibytes = 0;
};

/// A picture like a photograph: a blurred scene with fine texture in some places and grain everywhere.
class Scene {
public:
    Scene() {
        for (std::size_t i = 0; i < wave_.size(); ++i) {
            wave_[i] =
                static_cast<int>(std::lround(60 * std::sin(static_cast<double>(i) * 6.2831853 / 1024)));
        }
    }

    std::vector<std::uint8_t> row(std::int64_t y, std::int64_t channels) {
        std::vector<std::uint8_t> row;
        row.reserve(static_cast<std::size_t>(side * channels));
        for (std::int64_t x = 0; x < side; ++x) {
            noise_ = noise_ * 1664525U + 1013904223U;
            const int grain = static_cast<int>(noise_ >> 29U);
            const int detail = ((x >> 9) + (y >> 9)) % 3 == 0 ? wave(x * 60 + y * 35) / 6 : 0;
            const int light = 120 + wave(x / 3 + y / 5) + detail + grain;
            for (std::int64_t channel = 0; channel < 3; ++channel) {
                row.push_back(
                    static_cast<std::uint8_t>(std::clamp(light + wave(y / 4 + x / 7 * channel) / 2, 0, 255)));
            }
            if (channels == 4) {
                row.push_back(255);
            }
        }
        return row;
    }

private:
    int wave(std::int64_t phase) const { return wave_[static_cast<std::size_t>(phase & 1023)]; }

    std::array<int, 1024> wave_{};
    std::uint32_t noise_ = 1;
};

void makePNG(const URL& url) {
    ImageDestination destination(url, {.width = side, .height = side, .profile = {}});
    Scene scene;
    for (std::int64_t y = 0; y < side; ++y) {
        destination.writeRows(scene.row(y, 4));
    }
    destination.commit();
}

/// Baseline, 4:2:0. An error of the library ends the process, as is its custom.
void makeJPEG(const URL& url, int quality) {
    std::FILE* const file = std::fopen(url.c_str(), "wb");
    if (file == nullptr) {
        throw std::runtime_error("the JPEG could not be created");
    }
    jpeg_error_mgr errors = {};
    jpeg_compress_struct state = {};
    state.err = jpeg_std_error(&errors);
    jpeg_create_compress(&state);
    jpeg_stdio_dest(&state, file);
    state.image_width = side;
    state.image_height = side;
    state.input_components = 3;
    state.in_color_space = JCS_RGB;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, quality, TRUE);
    jpeg_start_compress(&state, TRUE);
    Scene scene;
    for (std::int64_t y = 0; y < side; ++y) {
        std::vector<std::uint8_t> row = scene.row(y, 3);
        JSAMPROW start = row.data();
        jpeg_write_scanlines(&state, &start, 1);
    }
    jpeg_finish_compress(&state);
    jpeg_destroy_compress(&state);
    if (std::fclose(file) != 0) {
        throw std::runtime_error("the JPEG could not be written");
    }
}

double peakMebibytes() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (double kibibytes = 0; word == "VmHWM:" && status >> kibibytes) {
            return kibibytes / 1024;
        }
    }
    throw std::runtime_error("the memory could not be measured");
}

/// Works in a process of its own, whose memory counts from the start.
template <typename Work>
Measurement inChild(Work work) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(benchmark::run([&] {
            const Measurement done = {benchmark::seconds(work), peakMebibytes()};
            return ::write(writing.get(), &done, sizeof done) == sizeof done ? 0 : 1;
        }));
    }
    writing.reset();
    Measurement measured;
    const bool isRead = ::read(reading.get(), &measured, sizeof measured) == sizeof measured;
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0 || !isRead) {
        throw std::runtime_error("a measured process failed");
    }
    return measured;
}

/// The median time and the highest peak.
Measurement summary(std::vector<Measurement> all) {
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.seconds < b.seconds; });
    double peak = 0;
    for (const Measurement& one : all) {
        peak = std::max(peak, one.peakMebibytes);
    }
    return {all[all.size() / 2].seconds, peak};
}

struct Comparison {
    Measurement whole;
    Measurement thumbnail;

    double ratio() const { return thumbnail.seconds / whole.seconds; }
};

void requireSize(const DisplayImage& image, std::int64_t length) {
    if (image->width != length || image->pixels.size() != static_cast<std::size_t>(length * length * 4)) {
        throw std::runtime_error("the picture has the wrong size");
    }
}

/// In turns, so that both meet the same machine.
Comparison compare(const URL& url) {
    std::vector<Measurement> whole;
    std::vector<Measurement> thumbnails;
    for (int round = 0; round < rounds; ++round) {
        whole.push_back(inChild([&] { requireSize(ImageRendering::decode(url, std::nullopt), side); }));
        thumbnails.push_back(
            inChild([&] { requireSize(ImageRendering::thumbnail(url, thumbnailSide), thumbnailSide); }));
    }
    return {summary(whole), summary(thumbnails)};
}

Comparison measure(const std::string& name, const URL& url) {
    Comparison figures = compare(url);
    fmt::print("{} of {} megapixels, {:.1f} MB: whole {:.2f} s, {:.1f} MiB; thumbnail {:.2f} s, {:.1f} MiB; "
               "time ratio {:.3f}\n",
               name, side * side / 1'000'000, static_cast<double>(fileSize(url)) / 1'000'000,
               figures.whole.seconds, figures.whole.peakMebibytes, figures.thumbnail.seconds,
               figures.thumbnail.peakMebibytes, figures.ratio());
    return figures;
}

int measureAll() {
    const ScopedDirectory folder(benchmark::newFolder());
    const URL file = folder.url().appending("picture");
    std::vector<Comparison> all;
    for (const int quality : {usualQuality, highQuality}) {
        inChild([&] { makeJPEG(file, quality); });
        all.push_back(measure(fmt::format("JPEG (quality {})", quality), file));
    }
    inChild([&] { makePNG(file); });
    all.push_back(measure("PNG", file));
    const bool isSmall = std::all_of(all.begin(), all.end(), [](const Comparison& one) {
        return one.thumbnail.peakMebibytes < allowedMebibytes;
    });
    const bool isFast = all.front().ratio() <= allowedRatio;
    fmt::print("thumbnails {} {} MiB; that of the JPEG of quality {} {} a fifth of the time\n",
               isSmall ? "under" : "NOT under", allowedMebibytes, usualQuality,
               isFast ? "within" : "NOT within");
    return isSmall && isFast ? 0 : 1;
}

} // namespace

int main() {
    return benchmark::run(measureAll);
}
