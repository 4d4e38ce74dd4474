#include "Process/ToolRunner.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Foundation/UUID.h"
#include "Process/ChildProcess.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tarnwick {
namespace {

constexpr std::size_t maximumErrorBytes = 8'192;
constexpr std::size_t maximumOutputBytes = 1'048'576;
constexpr std::size_t quotedErrorCharacters = 180;
constexpr std::chrono::duration<double> terminationGrace{1.0};

/// OpenMP's threads spin for a while when they wait for one another. Beside another tool they would take the
/// very processor that they wait for: two runs of pngquant at once took longer than one after another.
const std::vector<std::string> environment = {"OMP_WAIT_POLICY=passive"};

/// The two output streams of one run. Files, not pipes: a chatty tool can never block on them. Their names go
/// before the tool starts, so that whenever this process is killed, nothing of them is left.
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

std::string beginningOf(const FileDescriptor& log, std::size_t maximumBytes) {
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
    // Before the child, so that the child is gone when its share is given back.
    const ToolBudget::Share share = budget_->take(memory, cancellation_);
    const ToolLog log;
    static const FileDescriptor nothing;
    ChildProcess child(directory_.appending(tool), arguments, log.output(), log.errors(), environment,
                       note_ != nullptr ? note_->lock() : nothing);
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
        const std::string errors =
            firstCharacters(beginningOf(log.errors(), maximumErrorBytes), quotedErrorCharacters);
        throw CompressionError::toolFailed(fmt::format("{}（退出码 {}）：{}", tool, status, errors));
    }
    return beginningOf(log.output(), maximumOutputBytes);
}

} // namespace tarnwick
