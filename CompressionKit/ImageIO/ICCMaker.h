#pragma once

#include "ImageIO/ColorProfile.h"
#include "ImageIO/LittleCMS.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tarnwick {

/// Decodes a value to light: (a × value + b) ^ gamma from `d` on, c × value below.
struct TransferCurve {
    double gamma = 1;
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 0;
};

/// A profile for RGB pixels of this space, described by its name in ASCII. Equal input makes equal bytes.
/// Empty for primaries that no space can have; a file may state any.
std::vector<std::uint8_t> makeICC(const Chromaticities& chromaticities, const TransferCurve& curve,
                                  const std::string& name);

/// The same with a curve given by its values from black to white.
std::vector<std::uint8_t> makeICC(const Chromaticities& chromaticities, std::span<const float> curve,
                                  const std::string& name);

/// The same with a curve and a description of Little CMS, which belong to `context`.
std::vector<std::uint8_t> makeICC(cmsContext context, const Chromaticities& chromaticities,
                                  const cmsToneCurve& curve, const cmsMLU& description);

/// A description in ASCII.
TextHandle makeDescription(cmsContext context, const std::string& text);

} // namespace tarnwick
