#include "ImageIO/InputFile.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileDescriptor.h"
#include "Foundation/FileSystemError.h"

#include <cerrno>

namespace tarnwick {

InputFile::InputFile(const URL& url) : url_(url) {
    FileDescriptor descriptor = openForReading(url);
    file_.reset(::fdopen(descriptor.get(), "rb"));
    if (!file_) {
        throw FileSystemError("无法打开文件", url, errno);
    }
    descriptor.release();
}

bool InputFile::read(std::span<std::uint8_t> bytes) noexcept {
    return std::fread(bytes.data(), 1, bytes.size(), get()) == bytes.size();
}

bool InputFile::skip(std::int64_t count) noexcept {
    return ::fseeko(get(), count, SEEK_CUR) == 0;
}

void InputFile::rewind() noexcept {
    std::rewind(get());
}

void InputFile::throwUnreadable() const {
    if (std::ferror(get()) != 0) {
        throw FileSystemError("无法读取文件", url_, errno);
    }
    throw CompressionError::invalidImage();
}

void InputFile::Closer::operator()(std::FILE* file) const noexcept {
    // Nothing was written, so closing loses nothing.
    static_cast<void>(std::fclose(file));
}

} // namespace tarnwick
