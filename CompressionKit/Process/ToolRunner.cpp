#include "Process/ToolRunner.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Foundation/UUID.h"
#include "Process/Cage.h"
#include "Process/ChildProcess.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <optional>
#include <utility>

namespace tarnwick {
namespace {

constexpr std::size_t maximumErrorBytes = 8'192;
constexpr std::size_t maximumOutputBytes = 1'048'576;
constexpr std::size_t quotedErrorCharacters = 180;
constexpr std::chrono::duration<double> terminationGrace{1.0};

/// The two output streams of one run. Files, because a tool that writes much would block on pipes. They are
/// unlinked before the tool starts, so a killed process leaves no files behind.
class ToolLog {
public:
    ToolLog() {
        const ScopedDirectory folder(
            temporaryDirectory().appending("tarnwick-tool-" + UUID::random().text()));
        output_ = createLog(folder.url().appending("stdout"));
        errors_ = createLog(folder.url().appending("stderr"));
    }

    const FileDescriptor& output() const { return output_; }
    const FileDescriptor& errors() const { return errors_; }

private:
    static FileDescriptor createLog(const URL& url) {
        try {
            return createNewFile(url, 0600);
        } catch (const FileSystemError&) {
            throw CompressionError::fileOperation("无法创建压缩组件日志");
        }
    }

    FileDescriptor output_;
    FileDescriptor errors_;
};

std::string readOutput(const FileDescriptor& log, std::size_t maximumBytes) {
    std::string bytes(maximumBytes, '\0');
    std::size_t held = 0;
    while (held < maximumBytes) {
        const ssize_t count =
            ::pread(log.get(), bytes.data() + held, maximumBytes - held, static_cast<off_t>(held));
        if (count == 0) {
            break;
        }
        if (count > 0) {
            held += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            throw CompressionError::fileOperation("无法读取压缩组件日志：" + systemErrorText(errno));
        }
    }
    bytes.resize(held);
    return decodeUTF8(bytes);
}

/// The part of the tool's error output that belongs in a message. The signal for a file above the limit gives
/// a tool no time to write one.
std::string quotedErrors(const FileDescriptor& log, int status) {
    std::string text = firstCharacters(readOutput(log, maximumErrorBytes), quotedErrorCharacters);
    text.erase(text.find_last_not_of("\r\n") + 1);
    return text.empty() && status == SIGXFSZ ? "写出的文件过大" : text;
}

std::optional<Cage> cageOf(const URL& program, std::optional<CageRules> rules, std::int64_t memory) {
    if (!rules || !Cage::isWanted()) {
        return std::nullopt;
    }
    rules->memory = memory;
    return std::optional<Cage>(std::in_place, program, *rules);
}

} // namespace

ToolRunner::ToolRunner(URL directory, Cancellation cancellation, ToolBudget& budget)
    : directory_(std::move(directory)), cancellation_(std::move(cancellation)), budget_(&budget) {}

ToolRunner ToolRunner::cancelledBy(Cancellation cancellation) const {
    ToolRunner copy = *this;
    copy.cancellation_ = std::move(cancellation);
    return copy;
}

ToolRunner ToolRunner::holding(const WorkNote& note) const {
    ToolRunner copy = *this;
    copy.note_ = &note;
    return copy;
}

ToolRunner ToolRunner::confinedTo(CageRules rules) const {
    ToolRunner copy = *this;
    copy.rules_ = std::move(rules);
    return copy;
}

bool ToolRunner::has(const std::string& tool) const {
    return ::access(directory_.appending(tool).c_str(), X_OK) == 0;
}

std::string ToolRunner::run(const std::string& tool, const std::vector<std::string>& arguments,
                            double timeout, std::int64_t memory) const {
    if (!has(tool)) {
        throw CompressionError::toolMissing(tool);
    }
    if (cancellation_.isRequested()) {
        throw Cancelled();
    }
    // Destroyed after the child, so that the child has ended when its share is given back.
    const ToolBudget::Share share = budget_->take(memory, cancellation_);
    const ToolLog log;
    static const FileDescriptor nothing;
    const URL program = directory_.appending(tool);
    auto cage = cageOf(program, rules_, memory);
    ChildProcess child(program, arguments, log.output(), log.errors(),
                       note_ != nullptr ? note_->lock() : nothing, cage ? &*cage : nullptr);
    const auto wake = child.wait(std::chrono::duration<double>(timeout), cancellation_);
    if (wake != ChildProcess::Wake::exited) {
        child.stop(terminationGrace);
        child.reap();
        if (wake == ChildProcess::Wake::cancelled) {
            throw Cancelled();
        }
        throw CompressionError::toolFailed(tool + " 超时");
    }
    if (const int status = child.reap(); status != 0) {
        throw CompressionError::toolFailed(
            fmt::format("{}（退出码 {}）：{}", tool, status, quotedErrors(log.errors(), status)));
    }
    return readOutput(log.output(), maximumOutputBytes);
}

} // namespace tarnwick
