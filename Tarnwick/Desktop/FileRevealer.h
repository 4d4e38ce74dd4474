#pragma once

#include "Foundation/URL.h"

namespace tarnwick {

/// Shows files in the desktop's file manager.
class FileRevealer {
public:
    FileRevealer() = default;
    FileRevealer(const FileRevealer&) = delete;
    FileRevealer& operator=(const FileRevealer&) = delete;
    virtual ~FileRevealer() = default;

    /// Opens the file's folder with the file selected, where the file manager can do so. Does not wait; a
    /// failure is logged.
    virtual void reveal(const URL& file) = 0;
};

} // namespace tarnwick
