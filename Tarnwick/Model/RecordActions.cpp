#include "Tarnwick/Model/RecordActions.h"

#include "Foundation/CompressionError.h"
#include "Scheduling/CompressionQueue.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <asio/bind_executor.hpp>

#include <algorithm>
#include <utility>

namespace tarnwick {

RecordActions::RecordActions(ImageTaskListModel& tasks, CompressionQueue& queue, UndoStore store,
                             MainThreadExecutor mainThread, Handlers handlers)
    : tasks_(tasks), queue_(queue), store_(std::move(store)), mainThread_(std::move(mainThread)),
      handlers_(std::move(handlers)) {}

void RecordActions::restore(const UndoRecord& record) {
    const std::vector<UUID> holders = tasks_.tasksHolding(record.id);
    const auto isActive = [this](const UUID& id) { return tasks_.find(id)->status.isActive(); };
    if (holders.empty() || std::any_of(holders.begin(), holders.end(), isActive)) {
        return;
    }
    for (const UUID& id : holders) {
        tasks_.setStatus(id, TaskStatus::Restoring);
    }
    queue_.run(
        record.replacementURL(), [store = store_, record] { store.restore(record); },
        asio::bind_executor(
            mainThread_, [this, record](const std::exception_ptr& error) { finishRestore(record, error); }));
}

void RecordActions::finishRestore(const UndoRecord& record, const std::exception_ptr& error) {
    for (const UUID& id : tasks_.tasksHolding(record.id)) {
        tasks_.update(id, [&](ImageTask& task) {
            if (error) {
                task.status = TaskStatus::failed(errorDescription(error));
                return;
            }
            task.status = TaskStatus::Restored;
            task.url = record.originalURL();
            task.thumbnailURL = task.url;
            task.backupAvailable = false;
        });
    }
    if (!error) {
        handlers_.onHistoryChange();
    }
}

void RecordActions::deleteTask(const ImageTask& task) {
    queue_.run(
        task.record()->replacementURL(), [store = store_, record = *task.record()] { store.forget(record); },
        asio::bind_executor(mainThread_,
                            [this, task](const std::exception_ptr& error) { finishDelete(task, error); }));
    // Last: `task` may be the row itself.
    tasks_.setStatus(task.id, TaskStatus::Deleting);
}

void RecordActions::finishDelete(const ImageTask& task, const std::exception_ptr& error) {
    if (error) {
        // A record that is still in the history keeps its row.
        handlers_.onDeleteFailure(errorText(error));
        tasks_.setStatus(task.id, task.status);
    } else {
        handlers_.onDelete(*task.record());
        tasks_.remove(task.id);
    }
    handlers_.onHistoryChange();
}

} // namespace tarnwick
