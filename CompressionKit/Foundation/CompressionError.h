#pragma once

#include <exception>
#include <string>

namespace tarnwick {

/// A failure of the compression library with its text for the user. Other failures of the file system are
/// thrown as FileSystemError.
class CompressionError : public std::exception {
public:
    enum class Case {
        toolMissing,
        toolFailed,
        fileOperation,
        invalidImage,
        formatMismatch,
        changedDuringCompression,
        validationFailed,
        unsafeRestore,
    };

    static CompressionError toolMissing(const std::string& tool);
    static CompressionError toolFailed(const std::string& detail);
    /// `message` is the whole text for the user.
    static CompressionError fileOperation(std::string message);
    static CompressionError invalidImage();
    static CompressionError formatMismatch();
    static CompressionError changedDuringCompression();
    static CompressionError validationFailed();
    static CompressionError unsafeRestore();

    Case errorCase() const noexcept { return case_; }
    /// The text for the user, UTF-8.
    const std::string& errorDescription() const noexcept { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

private:
    CompressionError(Case errorCase, std::string description);

    Case case_;
    std::string description_;
};

/// The text for the user of any error that the library throws.
std::string errorDescription(const std::exception& error);
/// The same for a caught error, which must not be null.
std::string errorDescription(const std::exception_ptr& error);

} // namespace tarnwick
