#include "Process/ToolRunner.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Foundation/UUID.h"
#include "Process/ChildProcess.h"

#include <fmt/format.h>
#include <unistd.h>

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

/// The two output streams of one run, in a private folder. Files, not pipes: a chatty tool can never block on
/// them.
class ToolLog {
public:
    ToolLog()
        : folder_(temporaryDirectory().appending("tarnwick-tool-" + UUID::random().text())),
          output_(createLog("stdout")), errors_(createLog("stderr")) {}

    const FileDescriptor& output() const { return output_; }
    const FileDescriptor& errors() const { return errors_; }
    std::string readOutput(std::string_view name, std::size_t maximumBytes) const {
        const Bytes bytes = readFilePrefix(folder_.url().appending(name), maximumBytes);
        return decodeUTF8({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }

private:
    FileDescriptor createLog(std::string_view name) const {
        try {
            return createNewFile(folder_.url().appending(name), 0600);
        } catch (const FileSystemError&) {
            throw CompressionError::fileOperation("无法创建压缩组件日志");
        }
    }

    ScopedDirectory folder_;
    FileDescriptor output_;
    FileDescriptor errors_;
};

} // namespace

ToolRunner::ToolRunner(URL directory, Cancellation cancellation, ToolBudget& budget)
    : directory_(std::move(directory)), cancellation_(std::move(cancellation)), budget_(&budget) {}

ToolRunner ToolRunner::cancelledBy(Cancellation cancellation) const {
    return ToolRunner(directory_, std::move(cancellation), *budget_);
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
    ChildProcess child(directory_.appending(tool), arguments, log.output(), log.errors(), environment);
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
            firstCharacters(log.readOutput("stderr", maximumErrorBytes), quotedErrorCharacters);
        throw CompressionError::toolFailed(fmt::format("{}（退出码 {}）：{}", tool, status, errors));
    }
    return log.readOutput("stdout", maximumOutputBytes);
}

} // namespace tarnwick
