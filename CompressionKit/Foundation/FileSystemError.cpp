#include "Foundation/FileSystemError.h"

#include "Foundation/Text.h"

#include <cerrno>
#include <system_error>

namespace tarnwick {

FileSystemError::FileSystemError(const std::string& attempt, const URL& url, int code)
    : code_(code), description_(attempt + "“" + displayText(url.path()) + "”：" + systemErrorText(code)) {}

bool FileSystemError::isOutOfSpace() const noexcept {
    return code_ == ENOSPC || code_ == EDQUOT;
}

std::string FileSystemError::systemText() const {
    return systemErrorText(code_);
}

std::string systemErrorText(int code) {
    return std::generic_category().message(code);
}

} // namespace tarnwick
