#pragma once

#include "Foundation/URL.h"
#include "History/UndoStore.h"

#include <cstdint>
#include <ctime>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace tarnwick {

/// The results of earlier compressions, which a second compression would make worse: the files that committed
/// records describe. Safe from any thread.
class OwnResults {
public:
    /// Reads the records. Throws FileSystemError.
    explicit OwnResults(UndoStore undo);

    /// Whether the file has the content of a result. Reads the records again if the file was changed after
    /// they were read: this or another process may have compressed it. Throws FileSystemError.
    bool contains(const URL& file);
    /// Whether some result has this many bytes, as far as the records were read.
    bool hasOneOf(std::int64_t bytes);

private:
    void read();

    UndoStore undo_;
    std::mutex mutex_;
    std::time_t readAt_ = 0;
    /// The hashes, by the size of the result: a file of another size need not be read.
    std::map<std::int64_t, std::set<std::string>> hashes_;
};

} // namespace tarnwick
