#include "TarnwickCommand/OwnResults.h"

#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"

#include <utility>

namespace tarnwick {

OwnResults::OwnResults(UndoStore undo) : undo_(std::move(undo)) {
    read();
}

void OwnResults::read() {
    readAt_ = std::time(nullptr);
    hashes_.clear();
    for (const UndoRecord& record : undo_.records()) {
        if (record.state == UndoRecord::State::committed) {
            hashes_[record.replacementBytes].insert(record.replacementHash);
        }
    }
}

bool OwnResults::contains(const URL& file) {
    const auto status = statusIfPresent(file);
    if (!status || !S_ISREG(status->st_mode)) {
        return false;
    }
    std::set<std::string> hashes;
    {
        const std::lock_guard lock(mutex_);
        if (status->st_ctim.tv_sec >= readAt_) {
            read();
        }
        const auto found = hashes_.find(status->st_size);
        hashes = found == hashes_.end() ? hashes : found->second;
    }
    return !hashes.empty() && hashes.contains(hash(file));
}

bool OwnResults::hasOneOf(std::int64_t bytes) {
    const std::lock_guard lock(mutex_);
    return hashes_.contains(bytes);
}

} // namespace tarnwick
