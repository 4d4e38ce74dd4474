#pragma once

#include "ImageIO/ErrorJump.h"

#include <png.h>

namespace tarnwick {

/// libpng's state and the picture's properties.
struct PNGStructs {
    png_structp png = nullptr;
    png_infop info = nullptr;

    PNGStructs() = default;
    PNGStructs(const PNGStructs&) = delete;
    PNGStructs& operator=(const PNGStructs&) = delete;

protected:
    ~PNGStructs() = default;
};

struct PNGReadStructs : PNGStructs {
    ~PNGReadStructs() { png_destroy_read_struct(&png, &info, nullptr); }
};

struct PNGWriteStructs : PNGStructs {
    ~PNGWriteStructs() { png_destroy_write_struct(&png, &info); }
};

/// libpng's error handler. Its error pointer must be an ErrorJump.
[[noreturn]] inline void leavePNG(png_structp png, png_const_charp /*message*/) {
    static_cast<ErrorJump*>(png_get_error_ptr(png))->leave();
}

inline void ignorePNGWarning(png_structp /*png*/, png_const_charp /*message*/) {}

} // namespace tarnwick
