#include "Tarnwick/Model/BudgetConfirmation.h"

#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "History/BackupCleanup.h"
#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/QtSupport/QtConversions.h"
#include "Wording/Messages.h"

#include <QPointer>
#include <algorithm>
#include <iterator>

namespace tarnwick {
namespace {

/// 0 for a file that cannot be measured: its compression will say why.
std::int64_t bytesOf(const URL& original) {
    try {
        return isRegularFile(original) ? fileSize(original) : 0;
    } catch (const FileSystemError&) {
        return 0;
    }
}

} // namespace

bool BudgetConfirmation::allows(const std::vector<URL>& originals) {
    const std::int64_t bytes = excess(originals);
    if (bytes == 0) {
        return true;
    }
    const Alert alert = {.message = "部分图片将无法恢复原图",
                         .informativeText = toQString(Messages::overBudget(bytes)),
                         .firstButton = "继续压缩",
                         .secondButton = "取消"};
    alerts_.show(alert, [model = QPointer(&model_), originals](bool isFirstButton) {
        if (model && isFirstButton) {
            model->add(originals, true);
        }
    });
    return false;
}

std::int64_t BudgetConfirmation::excess(const std::vector<URL>& originals) const {
    std::vector<std::int64_t> sizes;
    std::transform(originals.begin(), originals.end(), std::back_inserter(sizes), bytesOf);
    const ImageTaskListModel& tasks = *model_.tasks();
    for (int row = 0; row < tasks.count(); ++row) {
        if (tasks.at(row).status.isActive()) {
            sizes.push_back(bytesOf(tasks.at(row).url));
        }
    }
    const std::int64_t kept = backupBytes_ ? *backupBytes_ : store_.backupBytes(Date::now());
    return bytesOverBudget(kept, sizes, UndoStore::backupBudget);
}

} // namespace tarnwick
