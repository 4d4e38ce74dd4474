#pragma once

#include "TarnwickCommand/CompressReporter.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tarnwick {

/// Finished rows scroll up. Below them are two live lines, redrawn in place: the oldest file in progress, and
/// a progress bar.
class TerminalReporter final : public CompressReporter {
public:
    TerminalReporter(const Output& output, const std::vector<CollectedFile>& files);

    void begin(const CollectedFile& file, const BatchProgress& progress) override;
    void end(const CollectedFile& file, const FileOutcome& outcome, const BatchProgress& progress) override;
    void finish(const BatchProgress& progress) override;

private:
    std::string nameColumn(const CollectedFile& file) const;
    std::string takeLiveLines();
    /// Empty when no file is in progress.
    std::string liveLines(const BatchProgress& progress);

    const Output& output_;
    std::size_t longestName_ = 0;
    /// The files in progress, oldest first.
    std::vector<const CollectedFile*> active_;
    bool hasLiveLines_ = false;
};

/// "[====    ] 1/2 · 已节省 3.4 MB" in fewer than `columns` columns; only the numbers when there is no room.
std::string progressBar(const BatchProgress& progress, std::size_t columns);

} // namespace tarnwick
