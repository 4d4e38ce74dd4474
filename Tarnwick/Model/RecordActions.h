#pragma once

#include "History/UndoStore.h"
#include "Tarnwick/Model/ImageTaskListModel.h"
#include "Tarnwick/QtSupport/MainThreadExecutor.h"

#include <QString>
#include <exception>
#include <functional>

namespace tarnwick {

class CompressionQueue;

/// Restores originals and deletes records, and shows both in the rows. Each runs through the compression
/// queue, so that it never overlaps a compression of the same file. Belongs to the main thread.
class RecordActions {
public:
    struct Handlers {
        /// An original was restored, or the deletion of a record succeeded or failed.
        std::function<void()> onHistoryChange;
        /// Called before the record's row is removed.
        std::function<void(const UndoRecord&)> onDelete;
        /// Receives the text of a failed deletion; a failed restore is shown in its rows.
        std::function<void(const QString&)> onDeleteFailure;
    };

    /// `tasks` and `queue` must outlive the object, which must outlive the executor's context.
    RecordActions(ImageTaskListModel& tasks, CompressionQueue& queue, UndoStore store,
                  MainThreadExecutor mainThread, Handlers handlers);

    /// Puts the original back. Does nothing when no row holds the record or one that does is active.
    void restore(const UndoRecord& record);
    /// Deletes the record of an inactive task and then its row.
    void deleteTask(const ImageTask& task);

private:
    void finishRestore(const UndoRecord& record, const std::exception_ptr& error);
    /// `task` is as it was before.
    void finishDelete(const ImageTask& task, const std::exception_ptr& error);

    ImageTaskListModel& tasks_;
    CompressionQueue& queue_;
    UndoStore store_;
    MainThreadExecutor mainThread_;
    Handlers handlers_;
};

} // namespace tarnwick
