#include "Engine/ToolArguments.h"

#include <fmt/format.h>

namespace tarnwick {
namespace {

using ToolArguments::List;

/// What every gifsicle run has in common, around the options that tell them apart.
List gifsicle(const List& options, const URL& input, const URL& output) {
    List arguments = {"-O3", "-Okeep-empty", "--no-ignore-errors"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), {input.path(), "-o", output.path()});
    return arguments;
}

std::string lossy(int level) {
    return fmt::format("--lossy={}", level);
}

} // namespace

std::string QuantizeSetting::label() const {
    return fmt::format("pngquant q{} floyd{} s{}", maximumQuality, dither, speed);
}

List ToolArguments::pngquant(const QuantizeSetting& setting, const URL& input, const URL& output) {
    return {fmt::format("--quality=0-{}", setting.maximumQuality),
            "--speed",
            std::to_string(setting.speed),
            fmt::format("--floyd={}", setting.dither),
            "--output",
            output.path(),
            "--",
            input.path()};
}

List ToolArguments::pngquantPalette(int colors, const URL& input, const URL& output) {
    return {std::to_string(colors),
            "--quality=0-100",
            "--speed",
            "1",
            "--floyd=0",
            "--output",
            output.path(),
            "--",
            input.path()};
}

List ToolArguments::oxipng(int level, const URL& input, const URL& output) {
    return {"-o", std::to_string(level), "--out", output.path(), input.path()};
}

List ToolArguments::cjpegli(int quality, std::string_view chroma, const URL& input, const URL& output) {
    return {input.path(), output.path(), fmt::format("--quality={}", quality),
            fmt::format("--chroma_subsampling={}", chroma), "--quiet"};
}

List ToolArguments::gifsicleLossless(const URL& input, const URL& output) {
    return gifsicle({}, input, output);
}

List ToolArguments::gifsicleLossy(int level, const URL& input, const URL& output) {
    return gifsicle({"--gamma=1", lossy(level)}, input, output);
}

List ToolArguments::gifsicleColors(int colors, int lossyLevel, const URL& input, const URL& output) {
    return gifsicle({"--gamma=1", lossy(lossyLevel), fmt::format("--colors={}", colors),
                     "--color-method=blend-diversity"},
                    input, output);
}

List ToolArguments::gifsicleColorMap(const URL& map, int lossyLevel, const URL& input, const URL& output) {
    return gifsicle({"--gamma=1", "--dither=none", "--use-colormap", map.path(), lossy(lossyLevel)}, input,
                    output);
}

List ToolArguments::ssimulacra2(const URL& reference, const URL& candidate) {
    return {reference.path(), candidate.path()};
}

} // namespace tarnwick
