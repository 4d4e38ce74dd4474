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

/// The outcome for one argument; no error means that the original is restored.
struct Outcome {
    /// The argument when it is a path, else the path of the record's original.
    std::string path;
    std::optional<UUID> record = std::nullopt;
    std::optional<std::string> error = std::nullopt;
};

std::optional<UUID> identifier(const std::string& argument, const URL& file) {
    return itemExists(file) ? std::nullopt : UUID::parse(argument);
}

/// Throws CompressionError.
UndoRecord require(const std::optional<UndoRecord>& record, const char* messageIfMissing) {
    if (!record) {
        throw CompressionError::fileOperation(messageIfMissing);
    }
    return *record;
}

/// Finds the record and enters it into `outcome`. Throws CompressionError and FileSystemError.
UndoRecord recordFor(const UndoStore& undo, const std::string& argument, Outcome& outcome) {
    const URL file = GivenPath::url(argument);
    const auto id = identifier(argument, file);
    UndoRecord record = id ? require(RecordLookup::withID(undo, *id), RecordLookup::unknownRecord)
                           : require(RecordLookup::newestOf(undo, file), RecordLookup::unknownFile);
    outcome.record = record.id;
    outcome.path = id ? portablePathText(record.originalURL()) : outcome.path;
    return record;
}

Outcome restore(const CommandContext& context, const std::string& argument) {
    Outcome outcome;
    try {
        outcome.path = GivenPath::portableText(argument);
        const UndoRecord record = recordFor(context.undo, argument, outcome);
        const TransientLine line(context.output, !context.json,
                                 displayText(record.originalPath) + "  " + std::string(RowText::restoring));
        runQueued(context.cancellation, record.replacementURL(), [&] { context.undo.restore(record); });
        postBothNotifications();
    } catch (const OutputFailed&) {
        throw;
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        outcome.error = errorDescription(error);
    }
    return outcome;
}

JSON jsonOf(const Outcome& outcome) {
    JSON object = {{"path", outcome.path}, {"outcome", outcome.error ? "failed" : "restored"}};
    if (outcome.record) {
        object["record"] = outcome.record->text();
    }
    if (outcome.error) {
        object["error"] = *outcome.error;
    }
    return object;
}

void report(const CommandContext& context, const Outcome& outcome) {
    if (context.json) {
        context.output.writeLine(jsonLine(jsonOf(outcome)));
    } else if (outcome.error) {
        printError(displayText(outcome.path) + "：" + displayText(*outcome.error));
    } else {
        context.output.writeLine(displayText(outcome.path) + "  " + std::string(RowText::restored));
    }
}

} // namespace

int runRestore(const CommandContext& context, const std::vector<std::string>& recordsOrPaths) {
    int status = ExitStatus::success;
    for (const std::string& argument : recordsOrPaths) {
        context.throwIfCancelled();
        const Outcome outcome = restore(context, argument);
        status = outcome.error ? ExitStatus::failure : status;
        report(context, outcome);
    }
    return status;
}

} // namespace tarnwick
