#include "TarnwickCommand/ClearCommand.h"

#include "Foundation/Text.h"
#include "Process/Event.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "TarnwickCommand/Arguments.h"
#include "Wording/Messages.h"

#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <string>

namespace tarnwick {
namespace {

/// A line typed by the user; empty at the end of the input. Throws Cancelled.
std::string typedLine(const Cancellation& cancellation) {
    waitUntilReadable(STDIN_FILENO, cancellation.descriptor());
    if (cancellation.isRequested()) {
        throw Cancelled();
    }
    // A terminal delivers whole lines.
    std::array<char, 256> line{};
    const ssize_t length = ::read(STDIN_FILENO, line.data(), line.size());
    return std::string(trimmed({line.data(), static_cast<std::size_t>(length > 0 ? length : 0)}));
}

bool userAgrees(const CommandContext& context) {
    context.output.write(
        fmt::format("{}\n{}\n输入 y 或“是”继续：", Messages::clearQuestion, Messages::clearExplanation));
    const std::string answer = lowercasedASCII(typedLine(context.cancellation));
    return answer == "y" || answer == "是";
}

} // namespace

int runClear(const CommandContext& context, bool isConfirmed) {
    if (!isConfirmed && (::isatty(STDIN_FILENO) != 1 || !context.output.isTerminal())) {
        printError("这会删除所有记录及其原图备份；没有终端可以询问，请加上 --yes。");
        return ExitStatus::wrongUsage;
    }
    if (!isConfirmed && !userAgrees(context)) {
        context.output.writeLine("没有清除任何记录。");
        return ExitStatus::success;
    }
    const std::size_t count = context.undo.removeAll().size();
    postBothNotifications();
    context.output.writeLine(fmt::format("已清除 {} 条记录。", count));
    return ExitStatus::success;
}

} // namespace tarnwick
