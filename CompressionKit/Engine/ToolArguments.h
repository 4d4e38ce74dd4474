#pragma once

#include "Foundation/URL.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The command-line arguments of each tool. Pure functions. Every file is given by its absolute path, so no
/// name looks like an option.
namespace tarnwick {

/// The time limit of one tool run in seconds.
constexpr double toolTimeout = 180;

namespace Tool {
constexpr auto pngquant = "pngquant";
constexpr auto oxipng = "oxipng";
constexpr auto cjpegli = "cjpegli";
constexpr auto gifsicle = "gifsicle";
constexpr auto ssimulacra2 = "ssimulacra2";
} // namespace Tool

struct QuantizeSetting {
    int maximumQuality;
    /// Floyd–Steinberg level, as written on the command line and in the label.
    std::string_view dither;
    int speed;

    /// For example "pngquant q90 floyd0.25 s1".
    std::string label() const;
};

namespace ToolArguments {
using List = std::vector<std::string>;

List pngquant(const QuantizeSetting& setting, const URL& input, const URL& output);
/// Finds `colors` colours for a whole contact sheet.
List pngquantPalette(int colors, const URL& input, const URL& output);
List oxipng(int level, const URL& input, const URL& output);
/// `chroma` is "420" or "444".
List cjpegli(int quality, std::string_view chroma, const URL& input, const URL& output);
List gifsicleLossless(const URL& input, const URL& output);
List gifsicleLossy(int level, const URL& input, const URL& output);
List gifsicleColors(int colors, int lossyLevel, const URL& input, const URL& output);
List gifsicleColorMap(const URL& map, int lossyLevel, const URL& input, const URL& output);
List ssimulacra2(const URL& reference, const URL& candidate);
} // namespace ToolArguments

} // namespace tarnwick
