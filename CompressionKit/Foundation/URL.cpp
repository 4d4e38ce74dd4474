#include "Foundation/URL.h"

#include "Foundation/Text.h"

#include <filesystem>
#include <utility>

namespace tarnwick {
namespace {

constexpr std::string_view fileScheme = "file";

bool isUnreserved(char c) {
    const bool alphanumeric = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    return alphanumeric || std::string_view("-._~/!$&'()*+,=:@").find(c) != std::string_view::npos;
}

std::string percentEncoded(std::string_view path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const char c : path) {
        if (isUnreserved(c)) {
            text += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            text += {'%', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
    return text;
}

std::optional<unsigned> hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const char lowered = static_cast<char>(c | 0x20);
    if (lowered >= 'a' && lowered <= 'f') {
        return static_cast<unsigned>(lowered - 'a' + 10);
    }
    return std::nullopt;
}

/// None for a broken escape or an escaped NUL, which a path cannot contain.
std::optional<std::string> percentDecoded(std::string_view text) {
    std::string path;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            path += text[i];
            continue;
        }
        if (i + 2 >= text.size()) {
            return std::nullopt;
        }
        const auto high = hexValue(text[i + 1]);
        const auto low = hexValue(text[i + 2]);
        if (!high || !low || *high + *low == 0) {
            return std::nullopt;
        }
        path += static_cast<char>(*high * 16 + *low);
        i += 2;
    }
    return path;
}

/// The path in the text after "file:"; none when it names another host.
std::optional<std::string_view> localPart(std::string_view rest) {
    if (!rest.starts_with("//")) {
        return rest.starts_with("/") ? std::optional(rest) : std::nullopt;
    }
    rest.remove_prefix(2);
    const std::size_t slash = rest.find('/');
    if (slash == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view host = rest.substr(0, slash);
    return host.empty() || host == "localhost" ? std::optional(rest.substr(slash)) : std::nullopt;
}

std::string absolutePath(std::string_view path) {
    std::string absolute = std::filesystem::absolute(std::filesystem::path(path)).native();
    while (absolute.size() > 1 && absolute.back() == '/') {
        absolute.pop_back();
    }
    return absolute;
}

} // namespace

URL::URL(std::string scheme, std::string path) : scheme_(std::move(scheme)), path_(std::move(path)) {}

URL URL::file(std::string_view path) {
    return {std::string(fileScheme), absolutePath(path)};
}

std::optional<URL> URL::parse(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || text.find('\0') != std::string_view::npos ||
        text.substr(0, colon).find('/') != std::string_view::npos) {
        return std::nullopt;
    }
    const std::string scheme = lowercasedASCII(text.substr(0, colon));
    const std::string_view rest = text.substr(colon + 1);
    if (scheme != fileScheme) {
        return URL(scheme, std::string(rest));
    }
    const auto local = localPart(rest);
    const auto path = local ? percentDecoded(*local) : std::nullopt;
    return path ? std::optional(URL::file(*path)) : std::nullopt;
}

std::string URL::absoluteString() const {
    return isFileURL() ? "file://" + percentEncoded(path_) : scheme_ + ":" + path_;
}

std::string URL::lastPathComponent() const {
    return std::filesystem::path(path_).filename().native();
}

std::string URL::pathExtension() const {
    const std::string extension = std::filesystem::path(path_).extension().native();
    return extension.empty() ? extension : extension.substr(1);
}

std::string URL::stem() const {
    return std::filesystem::path(path_).stem().native();
}

URL URL::appending(std::string_view component) const {
    return {scheme_, (std::filesystem::path(path_) / std::filesystem::path(component)).native()};
}

URL URL::deletingLastPathComponent() const {
    return {scheme_, std::filesystem::path(path_).parent_path().native()};
}

std::string portablePathText(const URL& url) {
    return isUTF8(url.path()) ? url.path() : url.absoluteString();
}

std::optional<URL> fileFromPortablePathText(std::string_view text) {
    if (text.starts_with("/")) {
        return URL::file(text);
    }
    const auto url = URL::parse(text);
    return url && url->isFileURL() ? url : std::nullopt;
}

} // namespace tarnwick
