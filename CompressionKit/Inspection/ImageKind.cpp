#include "Inspection/ImageKind.h"

#include "Foundation/Text.h"

#include <algorithm>

namespace tarnwick {
namespace {

struct Description {
    std::string_view rawValue;
    std::array<std::string_view, 2> extensions;
    std::array<std::string_view, 2> containerTypes;
};

constexpr std::array<Description, ImageKind::allCases.size()> descriptions = {{
    {"jpeg", {"jpg", "jpeg"}, {"public.jpeg", "public.jpeg"}},
    {"png", {"png", "png"}, {"public.png", "public.png"}},
    {"gif", {"gif", "gif"}, {"com.compuserve.gif", "com.compuserve.gif"}},
    {"heic", {"heic", "heif"}, {"public.heic", "public.heif"}},
}};

template <typename Matches>
std::optional<ImageKind> firstKind(Matches matches) {
    for (const ImageKind::Value kind : ImageKind::allCases) {
        if (matches(descriptions.at(kind))) {
            return kind;
        }
    }
    return std::nullopt;
}

bool contains(const std::array<std::string_view, 2>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

std::optional<ImageKind> ImageKind::from(const URL& url) {
    const std::string extension = lowercasedASCII(url.pathExtension());
    return firstKind([&](const Description& kind) { return contains(kind.extensions, extension); });
}

std::optional<ImageKind> ImageKind::fromRawValue(std::string_view rawValue) {
    return firstKind([&](const Description& kind) { return kind.rawValue == rawValue; });
}

std::string_view ImageKind::rawValue() const {
    return descriptions.at(value_).rawValue;
}

bool ImageKind::accepts(std::string_view containerType) const {
    return contains(descriptions.at(value_).containerTypes, containerType);
}

} // namespace tarnwick
