#pragma once

#include "Foundation/URL.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

namespace tarnwick {

/// A file opened for reading through the C library, as the decoding libraries require.
class InputFile {
public:
    /// Throws FileSystemError.
    explicit InputFile(const URL& url);

    std::FILE* get() const noexcept { return file_.get(); }
    /// False when fewer bytes are left.
    bool read(std::span<std::uint8_t> bytes) noexcept;
    bool skip(std::int64_t count) noexcept;
    void rewind() noexcept;

    /// To be called when a header could not be read. Throws FileSystemError after a failed system call, else
    /// CompressionError::invalidImage.
    [[noreturn]] void throwUnreadable() const;

private:
    struct Closer {
        void operator()(std::FILE* file) const noexcept;
    };

    URL url_;
    std::unique_ptr<std::FILE, Closer> file_;
};

} // namespace tarnwick
