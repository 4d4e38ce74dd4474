// hash() against the system's `openssl dgst` on one file of 1 GiB, in turns, so that both meet the same
// machine.

#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Measuring.h"
#include "Process/ToolRunner.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace tarnwick;

constexpr std::size_t fileMebibytes = 1024;
constexpr int rounds = 7;
constexpr double timeout = 600;

ToolRunner openssl() {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (ToolRunner runner(URL::file(folder)); runner.has("openssl")) {
            return runner;
        }
    }
    throw std::runtime_error("openssl is not installed");
}

void makeFile(const URL& url) {
    const FileDescriptor file = createNewFile(url, 0600);
    std::mt19937_64 random(1); // NOLINT(cert-msc51-cpp): the same file every time
    std::vector<std::uint8_t> mebibyte(std::size_t{1} << 20U);
    for (std::size_t i = 0; i < fileMebibytes; ++i) {
        std::generate(mebibyte.begin(), mebibyte.end(), [&] { return static_cast<std::uint8_t>(random()); });
        writeAll(file, mebibyte, url);
    }
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

int compare() {
    const ToolRunner tool = openssl();
    const ScopedDirectory folder(benchmark::newFolder());
    const URL file = folder.url().appending("1GiB");
    makeFile(file);
    std::string digest = hash(file); // Also brings the file into memory, for both.
    std::vector<double> own;
    std::vector<double> theirs;
    for (int round = 0; round < rounds; ++round) {
        std::string output;
        own.push_back(benchmark::seconds([&] { digest = hash(file); }));
        theirs.push_back(benchmark::seconds([&] {
            output = tool.run("openssl", {"dgst", "-sha256", "-r", file.path()}, timeout);
        }));
        if (output.rfind(digest, 0) != 0) {
            throw std::runtime_error("the digests differ");
        }
        fmt::print("round {}: hash() {:.3f} s, openssl dgst {:.3f} s\n", round + 1, own.back(),
                   theirs.back());
    }
    fmt::print("median: hash() {:.3f} s, openssl dgst {:.3f} s; ratio {:.3f}\n", median(own), median(theirs),
               median(own) / median(theirs));
    return 0;
}

} // namespace

int main() {
    return benchmark::run(compare);
}
