#pragma once

#include "Foundation/URL.h"
#include "Tarnwick/Model/ImageTaskListModel.h"

#include <vector>

namespace tarnwick {

/// What is imported of the files that the user offered.
struct ImportSelection {
    /// In their order. Each file once, by whatever path it was named, and none that is already in work.
    std::vector<URL> accepted;
    /// Whether a file was left out because its name is none of a supported format.
    bool hasUnsupported = false;

    static ImportSelection of(const std::vector<URL>& urls, const ImageTaskListModel& tasks);
};

} // namespace tarnwick
