#pragma once

#include "TarnwickCommand/CompressReporter.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tarnwick {

/// Rows that scroll up, and below them the row of the file that has been worked on for longest and a progress
/// bar, which are drawn again in place.
class TerminalReporter final : public CompressReporter {
public:
    TerminalReporter(const Output& output, const std::vector<CollectedFile>& files);

    void begin(const CollectedFile& file, const BatchProgress& progress) override;
    void end(const CollectedFile& file, const FileEnding& ending, const BatchProgress& progress) override;
    void finish(const BatchProgress& progress) override;

private:
    std::string nameColumn(const CollectedFile& file) const;
    std::string takeLiveLines();
    /// Nothing when no file is being worked on.
    std::string liveLines(const BatchProgress& progress);

    const Output& output_;
    std::size_t longestName_ = 0;
    /// The files being worked on, the oldest first.
    std::vector<const CollectedFile*> active_;
    bool hasLiveLines_ = false;
};

/// "[====    ] 1/2 · 已节省 3.4 MB" in fewer than `columns` columns; the numbers alone when there is no room.
std::string progressBar(const BatchProgress& progress, std::size_t columns);

} // namespace tarnwick
