#include "TarnwickCommand/RestoreCommand.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "Foundation/Text.h"
#include "Tarnwick/Desktop/DBusSignals.h"
#include "TarnwickCommand/Arguments.h"
#include "TarnwickCommand/GivenPath.h"
#include "TarnwickCommand/JSONLine.h"
#include "TarnwickCommand/QueuedWork.h"
#include "TarnwickCommand/RecordLookup.h"
#include "Wording/RowText.h"

#include <nlohmann/json.hpp>

namespace tarnwick {
namespace {

/// How the restoring of one argument ended; without an error when the original is back.
struct Ending {
    /// The argument when it is a path, else that of the record's file.
    std::string path;
    std::optional<UUID> record = std::nullopt;
    std::optional<std::string> error = std::nullopt;
};

std::optional<UUID> identifier(const std::string& argument, const URL& file) {
    return itemExists(file) ? std::nullopt : UUID::parse(argument);
}

/// Throws CompressionError.
UndoRecord required(const std::optional<UndoRecord>& record, const char* otherwise) {
    if (!record) {
        throw CompressionError::fileOperation(otherwise);
    }
    return *record;
}

/// Finds the record, and notes in `ending` what is known of it. Throws CompressionError and FileSystemError.
UndoRecord recordFor(const UndoStore& undo, const std::string& argument, Ending& ending) {
    const URL file = GivenPath::url(argument);
    const auto id = identifier(argument, file);
    UndoRecord record = id ? required(RecordLookup::withID(undo, *id), RecordLookup::unknownRecord)
                           : required(RecordLookup::newestOf(undo, file), RecordLookup::unknownFile);
    ending.record = record.id;
    ending.path = id ? portablePathText(record.originalURL()) : ending.path;
    return record;
}

Ending restored(const CommandContext& context, const std::string& argument) {
    Ending ending;
    try {
        ending.path = GivenPath::portableText(argument);
        const UndoRecord record = recordFor(context.undo, argument, ending);
        const TransientLine line(context.output, !context.json,
                                 displayText(record.originalPath) + "  " + std::string(RowText::restoring));
        runQueued(context.cancellation, record.replacementURL(), [&] { context.undo.restore(record); });
        postNotification(NotificationName::undoDidChange);
    } catch (const OutputFailed&) {
        throw;
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        ending.error = errorDescription(error);
    }
    return ending;
}

JSON jsonOf(const Ending& ending) {
    JSON object = {{"path", ending.path}, {"outcome", ending.error ? "failed" : "restored"}};
    if (ending.record) {
        object["record"] = ending.record->text();
    }
    if (ending.error) {
        object["error"] = *ending.error;
    }
    return object;
}

void tell(const CommandContext& context, const Ending& ending) {
    if (context.json) {
        context.output.writeLine(jsonLine(jsonOf(ending)));
    } else if (ending.error) {
        printError(displayText(ending.path) + "：" + displayText(*ending.error));
    } else {
        context.output.writeLine(displayText(ending.path) + "  " + std::string(RowText::restored));
    }
}

} // namespace

int runRestore(const CommandContext& context, const std::vector<std::string>& recordsOrPaths) {
    int status = ExitStatus::success;
    for (const std::string& argument : recordsOrPaths) {
        context.throwIfCancelled();
        const Ending ending = restored(context, argument);
        status = ending.error ? ExitStatus::failure : status;
        tell(context, ending);
    }
    return status;
}

} // namespace tarnwick
