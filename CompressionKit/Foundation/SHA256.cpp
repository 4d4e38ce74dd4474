#include "Foundation/SHA256.h"

#include <fmt/format.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <array>
#include <new>
#include <stdexcept>

namespace tarnwick {
namespace {

void requireSuccess(int result) {
    if (result != 1) {
        throw std::runtime_error("SHA-256 is not available from OpenSSL");
    }
}

/// By default OpenSSL frees its data when the process exits, while threads of a pool may still be hashing.
void keepOpenSSLAtExit() {
    static const int isInitialized = OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
    requireSuccess(isInitialized);
}

} // namespace

SHA256::SHA256() : context_(nullptr, EVP_MD_CTX_free) {
    keepOpenSSLAtExit();
    context_.reset(EVP_MD_CTX_new());
    if (!context_) {
        throw std::bad_alloc();
    }
    requireSuccess(EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr));
}

SHA256::~SHA256() = default;

void SHA256::update(std::span<const std::byte> bytes) {
    requireSuccess(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()));
}

std::string SHA256::finalize() {
    std::array<unsigned char, 32> digest{};
    requireSuccess(EVP_DigestFinal_ex(context_.get(), digest.data(), nullptr));
    return fmt::format("{:02x}", fmt::join(digest, ""));
}

std::string SHA256::hexDigest(std::string_view text) {
    SHA256 computation;
    computation.update(std::as_bytes(std::span(text)));
    return computation.finalize();
}

} // namespace tarnwick
