#include "Tarnwick/Model/ImportSelection.h"

#include "Inspection/ImageKind.h"
#include "Scheduling/CompressionQueue.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string>

namespace tarnwick {
namespace {

/// The same for all paths of a file.
std::string workKey(const URL& url) {
    return url.isFileURL() ? CompressionQueue::fileIdentity(url) : url.absoluteString();
}

std::set<std::string> keysInWork(const ImageTaskListModel& tasks) {
    std::set<std::string> keys;
    for (int row = 0; row < tasks.count(); ++row) {
        if (tasks.at(row).status.isActive()) {
            keys.insert(workKey(tasks.at(row).url));
        }
    }
    return keys;
}

} // namespace

ImportSelection ImportSelection::of(const std::vector<URL>& urls, const ImageTaskListModel& tasks) {
    std::vector<URL> pictures;
    std::copy_if(urls.begin(), urls.end(), std::back_inserter(pictures),
                 [](const URL& url) { return ImageKind::from(url).has_value(); });
    ImportSelection selection = {.accepted = {}, .hasUnsupported = pictures.size() < urls.size()};
    if (!pictures.empty()) {
        std::set<std::string> inWork = keysInWork(tasks);
        std::copy_if(pictures.begin(), pictures.end(), std::back_inserter(selection.accepted),
                     [&](const URL& url) { return inWork.insert(workKey(url)).second; });
    }
    return selection;
}

} // namespace tarnwick
