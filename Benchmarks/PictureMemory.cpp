// Measures the memory that pictures take: PictureMemory PICTURE... reads each picture in a process of its
// own, as the window does (inspection, thumbnail, full display). Prints the largest ten, and fails when a
// file below a megabyte makes its process exceed 256 MiB, or ends it.

#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "ImageIO/ImageSource.h"
#include "Inspection/ImageFacts.h"
#include "Inspection/ImageRendering.h"
#include "Measuring.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace tarnwick;

constexpr std::int64_t smallFile = 1'000'000;
constexpr std::int64_t maximumKibibytes = std::int64_t{256} * 1024;
/// That of a row of the window on a screen of twice the density.
constexpr std::int64_t thumbnailSide = 200;

struct Measured {
    std::string path;
    std::int64_t bytes;
    std::int64_t kibibytes;
    bool hasEnded;

    bool isTooMuch() const { return !hasEnded || (bytes < smallFile && kibibytes > maximumKibibytes); }
};

template <typename Step>
void attempt(Step step) {
    try {
        step();
    } catch (const CompressionError&) {
        // A refusal is as good as a picture here.
    }
}

void read(const URL& picture) {
    const std::map<std::string, std::string> extensions = {{"public.png", "png"},
                                                           {"public.jpeg", "jpg"},
                                                           {"com.compuserve.gif", "gif"},
                                                           {"public.heic", "heic"},
                                                           {"public.heif", "heic"}};
    const auto type = extensions.find(containerType(picture).value_or(""));
    if (type != extensions.end()) {
        // Only files whose names fit their contents are inspected to the end.
        const ScopedDirectory folder(benchmark::newFolder());
        const URL named = folder.url().appending("picture." + type->second);
        if (::symlink(picture.c_str(), named.c_str()) != 0) {
            throw std::runtime_error("cannot link to the picture");
        }
        attempt([&] { ImageFacts::inspect(named); });
    }
    attempt([&] { ImageRendering::thumbnail(picture, thumbnailSide); });
    attempt([&] { ImageRendering::comparisonImage(picture); });
}

Measured measure(const std::string& path) {
    const URL picture = URL::file(path);
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::runtime_error("cannot start a process");
    }
    if (child == 0) {
        ::_exit(benchmark::run([&] {
            read(picture);
            return EXIT_SUCCESS;
        }));
    }
    int status = 0;
    rusage usage = {};
    if (::wait4(child, &status, 0, &usage) != child) {
        throw std::runtime_error("cannot wait for a process");
    }
    return {path, fileSize(picture), usage.ru_maxrss,
            WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS};
}

} // namespace

int main(int argc, char** argv) {
    return benchmark::run([&] {
        std::vector<Measured> all;
        std::transform(argv + 1, argv + argc, std::back_inserter(all), measure);
        std::stable_sort(all.begin(), all.end(),
                         [](const Measured& a, const Measured& b) { return a.kibibytes > b.kibibytes; });
        const auto isTooMuch = [](const Measured& picture) { return picture.isTooMuch(); };
        const auto failures = std::stable_partition(all.begin(), all.end(), isTooMuch) - all.begin();
        for (std::size_t i = 0; i < all.size() && i < static_cast<std::size_t>(failures) + 10; ++i) {
            const Measured& picture = all[i];
            fmt::print("{:5} MiB  {:7} bytes  {}{}\n", picture.kibibytes / 1024, picture.bytes, picture.path,
                       !picture.hasEnded     ? "  ENDED THE PROCESS"
                       : picture.isTooMuch() ? "  TOO MUCH"
                                             : "");
        }
        fmt::print("{} pictures, {} too much\n", all.size(), failures);
        return failures == 0 && !all.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
    });
}
