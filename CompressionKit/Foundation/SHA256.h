#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace tarnwick {

/// A running SHA-256 computation.
class SHA256 {
public:
    SHA256();
    ~SHA256();
    SHA256(const SHA256&) = delete;
    SHA256& operator=(const SHA256&) = delete;

    void update(std::span<const std::byte> bytes);
    /// The digest as 64 lower-case hexadecimal digits. Call it once, as the last call.
    std::string finalize();

    /// The digest of `text`'s bytes.
    static std::string hexDigest(std::string_view text);

private:
    std::unique_ptr<evp_md_ctx_st, void (*)(evp_md_ctx_st*)> context_;
};

} // namespace tarnwick
