#pragma once

#include <array>
#include <compare>
#include <optional>
#include <string>

namespace tarnwick {

/// A universally unique identifier.
class UUID {
public:
    static UUID random();
    /// Parses the canonical text in upper or lower case.
    static std::optional<UUID> parse(const std::string& text);

    /// The canonical text in upper case, for example "8C2F…-…".
    std::string text() const;

    friend auto operator<=>(const UUID&, const UUID&) = default; // NOLINT(modernize-use-nullptr)

private:
    UUID() = default;

    std::array<unsigned char, 16> bytes_{};
};

} // namespace tarnwick
