#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick {

/// Coding-independent code points (ITU-T H.273), as in PNG's cICP chunk and HEIF's nclx box.
struct CodePoints {
    std::uint16_t primaries = 2;
    std::uint16_t transfer = 2;
    std::uint16_t matrix = 2;
    bool fullRange = true;

    friend bool operator==(const CodePoints&, const CodePoints&) = default;
};

/// CIE xy coordinates of the white point and the primaries.
struct Chromaticities {
    double whiteX, whiteY, redX, redY, greenX, greenY, blueX, blueY;
};

/// The spaces that are recognized by their curves and primaries. All others are compared by name alone.
enum class KnownSpace { sRGB, displayP3, other };

/// The space that a profile of this name claims to be: its name contains "sRGB" or "Display P3" in any case
/// and with any spaces.
KnownSpace spaceNamed(std::string_view profileName) noexcept;

/// The colour space that a picture states. Two pictures with the same profile name count as being in the same
/// space. A value; copies share nothing.
class ColorProfile {
public:
    /// For a picture that states no colour space: named "sRGB IEC61966-2.1".
    ColorProfile();

    /// An embedded ICC profile, kept byte for byte. Named by its description text; a profile whose
    /// description names neither sRGB nor Display P3 but whose primaries and curve are theirs (within small
    /// tolerances) is named as that space. None for a profile that cannot be read.
    static std::optional<ColorProfile> fromICC(std::span<const std::uint8_t> icc);
    /// Named after the space, for example "sRGB IEC61966-2.1" for 1/13 and "Display P3" for 12/13.
    /// Unspecified primaries and transfer mean sRGB.
    static ColorProfile fromCodePoints(const CodePoints& codePoints);
    /// PNG's gAMA (the file's gamma, for example 0.45455) and cHRM. Values that equal sRGB's are named so;
    /// others get their own name, for example "Gamma 1.0".
    static ColorProfile fromGamma(std::optional<double> fileGamma,
                                  const std::optional<Chromaticities>& chromaticities);
    /// For CMYK without an embedded profile: named "Generic CMYK Profile".
    static ColorProfile genericCMYK();

    const std::string& name() const noexcept { return name_; }
    /// Whether this is sRGB (by its name).
    bool isSRGB() const noexcept;

    /// The ICC profile to embed in a PNG of RGB pixels so that it looks the same: the embedded one, else one
    /// made for the space; empty for sRGB without an embedded profile, for spaces that only code points can
    /// describe, and for a profile that is not for RGB pixels.
    std::vector<std::uint8_t> iccForRGB() const;
    /// The same for an sRGB screen: spaces of high dynamic range (PQ and HLG) get a curve that keeps the
    /// shadows and middle tones and brings the highlights down to white.
    std::vector<std::uint8_t> iccForDisplay() const;
    const std::optional<CodePoints>& codePoints() const noexcept { return codePoints_; }

private:
    std::string name_;
    std::vector<std::uint8_t> icc_;
    std::optional<CodePoints> codePoints_;
};

} // namespace tarnwick
