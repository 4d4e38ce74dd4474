#include "Engine/ToolMemory.h"

#include "Engine/ToolArguments.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace tarnwick {
namespace {

constexpr std::int64_t mebi = std::int64_t{1} << 20;

struct Need {
    std::string_view tool;
    std::int64_t base;
    std::int64_t bytesPerCanvasPixel;
    std::int64_t bytesPerFramePixel;
};

/// Linear upper bounds of the measured peak resident memory in MiB, with the arguments of ToolArguments:
///
///                 1 MP  3.4 MP  6 MP RGBA  6 MP RGBA 16 bits  12 MP  24 MP
/// pngquant          45      83        111                111    160    226
/// oxipng            31      67        151                286    170    330
/// cjpegli 444       16      39                                  119    228
/// ssimulacra2      154     498        909                900   1737   3409
///
/// gifsicle: 154 for one frame of 20 MP, 23 for 40 frames of 0.3 MP, 149 for 40 frames of 2.8 MP.
constexpr std::array<Need, 5> needs = {{
    {Tool::pngquant, 45 * mebi, 13, 0},
    {Tool::oxipng, 16 * mebi, 50, 0},
    {Tool::cjpegli, 16 * mebi, 11, 0},
    {Tool::ssimulacra2, 8 * mebi, 160, 0},
    {Tool::gifsicle, 16 * mebi, 8, 2},
}};

} // namespace

std::int64_t toolMemory(std::string_view tool, std::int64_t canvasPixels, std::int64_t frames) {
    const auto* need =
        std::find_if(needs.begin(), needs.end(), [tool](const Need& entry) { return entry.tool == tool; });
    if (need == needs.end()) {
        throw std::invalid_argument("unknown tool");
    }
    // The decoders' size limits keep these products from overflowing.
    return need->base + canvasPixels * (need->bytesPerCanvasPixel + frames * need->bytesPerFramePixel);
}

std::int64_t toolMemory(std::string_view tool, const ImageFacts& facts) {
    return toolMemory(tool, facts.width * facts.height, facts.frameCount);
}

} // namespace tarnwick
