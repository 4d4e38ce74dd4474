#pragma once

#include "Foundation/URL.h"

namespace tarnwick {

/// Whether the JPEG's first luminance table is nearly all ones, as at the highest quality. Reads the first
/// MiB; every failure is false.
bool hasFineJPEGQuantization(const URL& url);

} // namespace tarnwick
