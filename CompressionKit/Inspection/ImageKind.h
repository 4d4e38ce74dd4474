#pragma once

#include "Foundation/URL.h"

#include <array>
#include <functional>
#include <optional>
#include <string_view>

namespace tarnwick {

/// The file kinds that can be compressed.
class ImageKind {
public:
    enum Value { jpeg, png, gif, heic };
    static constexpr std::array<Value, 4> allCases = {jpeg, png, gif, heic};

    constexpr ImageKind(Value value) : value_(value) {} // NOLINT(google-explicit-constructor)
    constexpr operator Value() const { return value_; } // NOLINT(google-explicit-constructor)

    /// The kind by the extension of the file's name in any case. Does not read the file.
    static std::optional<ImageKind> from(const URL& url);
    static std::optional<ImageKind> fromRawValue(std::string_view rawValue);

    /// "jpeg", "png", "gif" or "heic".
    std::string_view rawValue() const;
    /// Whether a file of this kind may hold a container of this type, for example "public.png".
    bool accepts(std::string_view containerType) const;

private:
    Value value_;
};

} // namespace tarnwick

template <>
struct std::hash<tarnwick::ImageKind> {
    std::size_t operator()(tarnwick::ImageKind kind) const noexcept {
        return std::hash<std::string_view>()(kind.rawValue());
    }
};
