#include "TarnwickCommand/MaintainCommand.h"

#include "TarnwickCommand/Arguments.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace tarnwick {

int runMaintain(const CommandContext& context) {
    std::vector<UndoRecord> backedUp = context.undo.records();
    std::erase_if(backedUp, [&](const UndoRecord& record) { return !context.undo.hasBackup(record); });
    context.undo.cleanup(UndoStore::backupRetention, UndoStore::backupBudget, Date::now());
    const auto removed = std::count_if(backedUp.begin(), backedUp.end(), [&](const UndoRecord& record) {
        return !context.undo.hasBackup(record);
    });
    context.output.writeLine(fmt::format("已清理 {} 个原图备份。", removed));
    return ExitStatus::success;
}

} // namespace tarnwick
