#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwick {

/// The location of a resource. For a file it holds an absolute path of arbitrary bytes (anything that Linux
/// takes, not only UTF-8); any other scheme is kept only so that it can be refused.
class URL {
public:
    /// An empty location; not a file.
    URL() = default;

    /// The file at `path`; a relative path is taken from the current directory as it is now.
    static URL file(std::string_view path);
    /// Reads "scheme:…" text. A local "file:" URI is percent-decoded to its path; a malformed one, or one
    /// that names another host, yields none. Text without a scheme yields none.
    static std::optional<URL> parse(std::string_view text);

    bool isFileURL() const noexcept { return scheme_ == "file"; }
    const std::string& scheme() const noexcept { return scheme_; }
    /// The absolute path of a file URL, without a trailing slash (but for the root).
    const std::string& path() const noexcept { return path_; }
    const char* c_str() const noexcept { return path_.c_str(); }
    /// The URI text; every byte that a URI cannot carry is percent-encoded.
    std::string absoluteString() const;

    std::string lastPathComponent() const;
    /// What follows the last dot of the last component; empty when there is none or the name begins with it.
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

/// A path as text that JSON can carry, without loss: the path itself when it is UTF-8, else its file URI. An
/// absolute path begins with a slash, so the two never meet.
std::string portablePathText(const URL& url);
/// The file that portablePathText() described; none when the text is neither.
std::optional<URL> fileFromPortablePathText(std::string_view text);

} // namespace tarnwick
