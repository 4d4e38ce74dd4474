#pragma once

#include "Foundation/URL.h"
#include "History/UndoStore.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace tarnwick {

class AlertPresenter;
class AppModel;

/// Asks before a batch whose originals exceed the budget of the backups, since they cannot all be restored.
/// Belongs to the main thread.
class BudgetConfirmation {
public:
    /// Both must outlive the object.
    BudgetConfirmation(AppModel& model, AlertPresenter& alerts, UndoStore store)
        : model_(model), alerts_(alerts), store_(std::move(store)) {}

    /// The bytes of all backups in the store; until this is called, the store is read for each batch.
    void setBackupBytes(std::int64_t bytes) { backupBytes_ = bytes; }

    /// Whether the originals fit, together with those of the tasks in work. If not, asks the user, and adds
    /// them to the model when the user wants to go on.
    bool allows(const std::vector<URL>& originals);

private:
    std::int64_t excess(const std::vector<URL>& originals) const;

    AppModel& model_;
    AlertPresenter& alerts_;
    UndoStore store_;
    std::optional<std::int64_t> backupBytes_;
};

} // namespace tarnwick
