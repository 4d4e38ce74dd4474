#pragma once

#include "Foundation/URL.h"
#include "Tarnwick/Model/ImageTaskListModel.h"

#include <vector>

namespace tarnwick {

/// What is imported of the files that the user offered.
struct ImportSelection {
    /// In the given order, without duplicates (also through links) and without files now being processed.
    std::vector<URL> accepted;
    /// Whether a file was left out because its extension is not supported.
    bool hasUnsupported = false;

    static ImportSelection of(const std::vector<URL>& urls, const ImageTaskListModel& tasks);
};

} // namespace tarnwick
