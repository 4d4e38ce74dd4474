#pragma once

#include "Foundation/URL.h"

#include <exception>
#include <string>

namespace tarnwick {

/// A failed system call on a file or folder.
class FileSystemError : public std::exception {
public:
    /// `attempt` is the beginning of the text for the user, for example "无法创建文件夹". `code` is an errno
    /// value.
    FileSystemError(const std::string& attempt, const URL& url, int code);

    /// The errno value.
    int code() const noexcept { return code_; }
    /// Whether the disk or the user's quota is full.
    bool isOutOfSpace() const noexcept;
    /// The C library's text for the code, without the attempt and the path.
    std::string systemText() const;
    const char* what() const noexcept override { return description_.c_str(); }

private:
    int code_;
    std::string description_;
};

/// The C library's text for an errno value; safe from any thread.
std::string systemErrorText(int code);

} // namespace tarnwick
