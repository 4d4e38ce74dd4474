#include "Support/GIFMaker.h"
#include "Support/HEIFMaker.h"
#include "Support/JPEGMaker.h"
#include "Support/PNGMaker.h"

#include <exception>
#include <iostream>
#include <string>
#include <utility>

namespace {

using namespace tarnwick;
using namespace tarnwick::test;

/// Puts numbered pictures into a folder.
class Seeds {
public:
    explicit Seeds(URL folder) : folder_(std::move(folder)) {}

    void add(const Bytes& picture) {
        writeFile(folder_.appending("seed-" + std::to_string(count_++)), picture);
    }

private:
    URL folder_;
    int count_ = 0;
};

void addPNGs(Seeds& seeds) {
    PNGOptions png;
    png.width = 9;
    png.height = 9;
    for (const auto& [color, depth] : {std::pair(PNGColor::grey, 1), std::pair(PNGColor::grey, 16),
                                       std::pair(PNGColor::rgb, 8), std::pair(PNGColor::palette, 8),
                                       std::pair(PNGColor::greyAlpha, 8), std::pair(PNGColor::rgba, 16)}) {
        png.color = color;
        png.depth = depth;
        png.palette.assign(color == PNGColor::palette ? 256 : 0, Pixel{1, 2, 3});
        png.interlaced = !png.interlaced;
        seeds.add(pngBytes(png));
    }
    png.animationFrames = 2;
    png.gamma = 100'000;
    png.chromaticities = Chromaticities{0.3127, 0.329, 0.64, 0.33, 0.3, 0.6, 0.15, 0.06};
    png.exif = exifBlock(6);
    seeds.add(pngBytes(png));
    png.icc = ColorProfile::fromCodePoints({12, 13, 0, true}).iccForRGB();
    png.codePoints = CodePoints{9, 16, 0, true};
    seeds.add(pngBytes(png));
}

void addJPEGs(Seeds& seeds) {
    JPEGOptions jpeg;
    jpeg.width = 17;
    jpeg.height = 17;
    for (const JPEGColor color : {JPEGColor::grey, JPEGColor::ycc, JPEGColor::cmyk, JPEGColor::ycck}) {
        jpeg.color = color;
        jpeg.progressive = !jpeg.progressive;
        seeds.add(jpegBytes(jpeg));
        jpeg.arithmetic = !jpeg.arithmetic;
        jpeg.horizontalSampling = 2;
    }
    jpeg = {};
    jpeg.separateScans = true;
    jpeg.restartInterval = 1;
    jpeg.orientation = 3;
    jpeg.icc = ColorProfile::fromCodePoints({12, 13, 0, true}).iccForRGB();
    jpeg.iccSegmentBytes = 200;
    seeds.add(jpegBytes(jpeg));
}

void addGIFs(Seeds& seeds) {
    GIFOptions gif = gifAnimation(3, 8, 8);
    seeds.add(gifBytes(gif));
    gif.frames[1].disposal = 3;
    gif.frames[1].transparentIndex = 0;
    gif.frames[1].interlaced = true;
    gif.frames[2].disposal = 2;
    gif.frames[2].palette = GIFOptions::rainbowPalette(4);
    gif.comment = "comment";
    seeds.add(gifBytes(gif));
}

void addHEIFs(Seeds& seeds) {
    HEIFOptions heif;
    heif.width = 64;
    heif.height = 64;
    seeds.add(heifBytes(heif));
    heif.alpha = true;
    heif.transformations = {clap(32, 32, 1, 1), irot(1), imir(0)};
    heif.codePoints = CodePoints{12, 13, 0, true};
    heif.sequenceSamples = 2;
    seeds.add(heifBytes(heif));
    heif = {};
    heif.width = 128;
    heif.columns = 2;
    heif.height = 64;
    heif.exif = exifBlock(6);
    seeds.add(heifBytes(heif));
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::cerr << "usage: PictureSeeds FOLDER\n";
        return 2;
    }
    try {
        Seeds seeds(URL::file(arguments[1]));
        addPNGs(seeds);
        addJPEGs(seeds);
        addGIFs(seeds);
        addHEIFs(seeds);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
