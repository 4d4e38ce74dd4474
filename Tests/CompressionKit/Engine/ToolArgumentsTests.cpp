#include "Engine/ToolArguments.h"

#include <gtest/gtest.h>

namespace tarnwick::test {
namespace {

// The recipes' tests check which of these a tool gets.
TEST(ToolArguments, AreThoseOfTheEncodersManuals) {
    using namespace ToolArguments;
    const URL in = URL::file("/-i n");
    const URL out = URL::file("/out");
    const std::string gif = "-O3 -Okeep-empty --no-ignore-errors ";
    const std::pair<List, std::string> rows[] = {
        {pngquant({90, "0.25", 1}, in, out), "--quality=0-90 --speed 1 --floyd=0.25 --output /out -- /-i n"},
        {pngquantPalette(192, in, out), "192 --quality=0-100 --speed 1 --floyd=0 --output /out -- /-i n"},
        {oxipng(4, in, out), "-o 4 --out /out /-i n"},
        {cjpegli(72, "420", in, out), "/-i n /out --quality=72 --chroma_subsampling=420 --quiet"},
        {ssimulacra2(in, out), "/-i n /out"},
        {gifsicleLossless(in, out), gif + "/-i n -o /out"},
        {gifsicleLossy(12, in, out), gif + "--gamma=1 --lossy=12 /-i n -o /out"},
        {gifsicleColors(128, 4, in, out),
         gif + "--gamma=1 --lossy=4 --colors=128 --color-method=blend-diversity /-i n -o /out"},
        {gifsicleColorMap(URL::file("/map"), 0, in, out),
         gif + "--gamma=1 --dither=none --use-colormap /map --lossy=0 /-i n -o /out"},
    };
    for (const auto& [arguments, expected] : rows) {
        std::string joined;
        for (const std::string& argument : arguments) {
            joined += (joined.empty() ? "" : " ") + argument;
        }
        EXPECT_EQ(joined, expected);
    }
}

} // namespace
} // namespace tarnwick::test
