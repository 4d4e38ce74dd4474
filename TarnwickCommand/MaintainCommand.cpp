#include "TarnwickCommand/MaintainCommand.h"

#include "History/Leftovers.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "TarnwickCommand/Arguments.h"

#include <fmt/format.h>

namespace tarnwick {
namespace {

void removeInterruptedWork(const CommandContext& context) {
    const LeftoversReport leftovers = removeLeftovers(context.undo);
    if (leftovers.settledRecords > 0) {
        postNotification(NotificationName::historyDidChange);
    }
    if (leftovers.removed > 0 || leftovers.settledRecords > 0) {
        context.output.writeLine(fmt::format("已清理 {} 个意外中断留下的文件，处理 {} 条未完成的记录。",
                                             leftovers.removed, leftovers.settledRecords));
    }
    for (const std::string& problem : leftovers.problems) {
        printError(problem);
    }
}

} // namespace

int runMaintain(const CommandContext& context) {
    if (context.isOwnStore()) {
        removeInterruptedWork(context);
    }
    const auto removed =
        context.undo.cleanup(UndoStore::backupRetention, UndoStore::backupBudget, Date::now());
    context.output.writeLine(fmt::format("已清理 {} 个原图备份。", removed));
    return ExitStatus::success;
}

} // namespace tarnwick
