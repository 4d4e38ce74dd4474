#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwick {

/// The location of a resource. A file URL holds an absolute path of arbitrary bytes, not only UTF-8. Other
/// schemes are kept only so that they can be refused.
class URL {
public:
    /// An empty location; not a file.
    URL() = default;

    /// The file at `path`; a relative path is relative to the current directory.
    static URL file(std::string_view path);
    /// Parses "scheme:…" text and percent-decodes a "file:" URI. None for text without a scheme or with a
    /// NUL, and for a "file:" URI that is malformed or names another host.
    static std::optional<URL> parse(std::string_view text);

    bool isFileURL() const noexcept { return scheme_ == "file"; }
    const std::string& scheme() const noexcept { return scheme_; }
    /// The absolute path of a file URL, without a trailing slash (except for the root).
    const std::string& path() const noexcept { return path_; }
    const char* c_str() const noexcept { return path_.c_str(); }
    /// The URI text; bytes that a URI does not allow are percent-encoded.
    std::string absoluteString() const;

    std::string lastPathComponent() const;
    /// The text after the last dot of the last component; empty without a dot or when the name begins with
    /// it.
    std::string pathExtension() const;
    /// The last component without its extension and the dot.
    std::string stem() const;
    URL appending(std::string_view component) const;
    URL deletingLastPathComponent() const;

    friend auto operator<=>(const URL&, const URL&) = default; // NOLINT(modernize-use-nullptr)

private:
    URL(std::string scheme, std::string path);

    std::string scheme_;
    std::string path_;
};

/// A path as UTF-8 text without loss, for JSON: the path itself if it is UTF-8, else its file URI. The two
/// cannot be confused, because an absolute path begins with a slash.
std::string portablePathText(const URL& url);
/// The file that portablePathText() described; none when the text is neither a path nor a file URI.
std::optional<URL> fileFromPortablePathText(std::string_view text);

} // namespace tarnwick
