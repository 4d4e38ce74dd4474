#include "TarnwickCommand/TerminalReporter.h"

#include "Foundation/Text.h"
#include "TarnwickCommand/TerminalText.h"
#include "Wording/RowText.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace tarnwick {
namespace {

/// From the end of the second live line: moves to the start of the first and erases the rest of the screen.
constexpr auto eraseLiveLines = "\r\x1b[1A\x1b[J";

} // namespace

TerminalReporter::TerminalReporter(const Output& output, const std::vector<CollectedFile>& files)
    : output_(output) {
    for (const CollectedFile& file : files) {
        longestName_ = std::max(longestName_, TerminalText::columns(displayText(file.path)));
    }
}

std::string TerminalReporter::nameColumn(const CollectedFile& file) const {
    const std::size_t width = std::min(longestName_, output_.columns() * 2 / 5);
    return TerminalText::padded(TerminalText::elidedInMiddle(displayText(file.path), width), width) + "  ";
}

std::string TerminalReporter::takeLiveLines() {
    return std::exchange(hasLiveLines_, false) ? eraseLiveLines : "";
}

std::string TerminalReporter::liveLines(const BatchProgress& progress) {
    if (active_.empty()) {
        return {};
    }
    hasLiveLines_ = true;
    // A wrapped line could not be erased, so both lines are shorter than the terminal is wide.
    const std::size_t columns = output_.columns();
    const std::string row = nameColumn(*active_.front()) + std::string(RowText::compressing);
    return TerminalText::elidedInMiddle(row, columns - 1) + "\n" + progressBar(progress, columns);
}

void TerminalReporter::begin(const CollectedFile& file, const BatchProgress& progress) {
    active_.push_back(&file);
    const std::string erasure = takeLiveLines();
    output_.write(erasure + liveLines(progress));
}

void TerminalReporter::end(const CollectedFile& file, const FileOutcome& outcome,
                           const BatchProgress& progress) {
    std::erase(active_, &file);
    const std::string row = takeLiveLines() + nameColumn(file) + outcomeText(outcome) + "\n";
    output_.write(row + liveLines(progress));
}

void TerminalReporter::finish(const BatchProgress& progress) {
    output_.write(takeLiveLines() + batchSummary(progress));
}

std::string progressBar(const BatchProgress& progress, std::size_t columns) {
    constexpr std::size_t longestBar = 40;
    constexpr std::size_t shortestBar = 4;
    const std::string numbers = fmt::format("{}/{} · 已节省 {}", progress.done, progress.total,
                                            RowText::byteCount(progress.savedBytes));
    // The brackets, a space and a free last column.
    const std::size_t taken = TerminalText::columns(numbers) + 4;
    if (progress.total == 0 || columns < taken + shortestBar) {
        return TerminalText::elidedInMiddle(numbers, columns - 1);
    }
    const std::size_t width = std::min(longestBar, columns - taken);
    const std::size_t filled = width * progress.done / progress.total;
    return "[" + std::string(filled, '=') + std::string(width - filled, ' ') + "] " + numbers;
}

} // namespace tarnwick
