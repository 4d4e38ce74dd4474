#include "TarnwickCommand/DeleteCommand.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Text.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "TarnwickCommand/Arguments.h"
#include "TarnwickCommand/QueuedWork.h"
#include "TarnwickCommand/RecordLookup.h"
#include "Wording/RowText.h"

namespace tarnwick {
namespace {

/// Returns the path of the record's original. Throws CompressionError and FileSystemError.
std::string deleteRecord(const CommandContext& context, const std::string& identifier) {
    const auto id = UUID::parse(identifier);
    const auto record = id ? RecordLookup::withID(context.undo, *id) : std::nullopt;
    if (!record) {
        throw CompressionError::fileOperation(RecordLookup::unknownRecord);
    }
    const TransientLine line(context.output, true,
                             displayText(record->originalPath) + "  " + std::string(RowText::deleting));
    runQueued(context.cancellation, record->replacementURL(), [&] { context.undo.forget(*record); });
    postBothNotifications();
    return record->originalPath;
}

} // namespace

int runDelete(const CommandContext& context, const std::vector<std::string>& identifiers) {
    int status = ExitStatus::success;
    for (const std::string& identifier : identifiers) {
        context.throwIfCancelled();
        try {
            const std::string path = deleteRecord(context, identifier);
            context.output.writeLine(displayText(path) + "  已删除记录");
        } catch (const OutputFailed&) {
            throw;
        } catch (const Cancelled&) {
            throw;
        } catch (const std::exception& error) {
            printError(displayText(identifier) + "：" + displayText(errorDescription(error)));
            status = ExitStatus::failure;
        }
    }
    return status;
}

} // namespace tarnwick
