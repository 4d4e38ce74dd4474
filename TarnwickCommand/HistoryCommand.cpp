#include "TarnwickCommand/HistoryCommand.h"

#include "Foundation/Text.h"
#include "TarnwickCommand/Arguments.h"
#include "TarnwickCommand/DateText.h"
#include "TarnwickCommand/JSONLine.h"
#include "TarnwickCommand/RecordLookup.h"
#include "TarnwickCommand/TerminalText.h"
#include "Wording/RowText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <vector>

namespace tarnwick {
namespace {

constexpr std::size_t columnCount = 6;
constexpr std::size_t fileColumn = 1;
constexpr std::size_t gap = 2;
using Row = std::array<std::string, columnCount>;
using Widths = std::array<std::size_t, columnCount>;

JSON jsonOf(const UndoStore& undo, const UndoRecord& record) {
    const auto end = RecordLookup::restorableUntil(undo, record);
    JSON object = {{"id", record.id.text()},
                   {"sessionID", record.sessionID.text()},
                   {"createdAt", DateText::iso8601(record.createdAt)},
                   {"originalPath", portablePathText(record.originalURL())},
                   {"backupName", record.backupName},
                   {"originalBytes", record.originalBytes},
                   {"replacementBytes", record.replacementBytes},
                   {"replacementHash", record.replacementHash}};
    if (record.originalHash) {
        object["originalHash"] = *record.originalHash;
    }
    object["state"] = record.state == UndoRecord::State::committed ? "committed" : "prepared";
    if (record.convertedPath) {
        object["convertedPath"] = portablePathText(URL::file(*record.convertedPath));
    }
    object["backupAvailable"] = end.has_value();
    if (end) {
        object["backupAvailableUntil"] = DateText::iso8601(*end);
    }
    return object;
}

std::string availabilityText(const UndoStore& undo, const UndoRecord& record) {
    const auto end = RecordLookup::restorableUntil(undo, record);
    return end ? "可恢复至 " + DateText::localTime(*end) : "原图备份已清理";
}

Row rowOf(const UndoStore& undo, const UndoRecord& record) {
    return {DateText::local(record.createdAt),
            displayText(record.originalPath),
            RowText::sizes(record.originalBytes, record.replacementBytes),
            RowText::badge(record.originalBytes, record.replacementBytes),
            availabilityText(undo, record),
            record.id.text()};
}

Widths widthsOf(const std::vector<Row>& rows) {
    Widths widths{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < columnCount; ++i) {
            widths.at(i) = std::max(widths.at(i), TerminalText::columns(row.at(i)));
        }
    }
    return widths;
}

/// Narrows the file column to fit the terminal, but keeps enough of it to recognize the file.
void fit(Widths& widths, std::size_t columns) {
    constexpr std::size_t least = 24;
    std::size_t others = (columnCount - 1) * gap;
    for (std::size_t i = 0; i < columnCount; ++i) {
        others += i == fileColumn ? 0 : widths.at(i);
    }
    const std::size_t left = columns > others ? columns - others : 0;
    widths.at(fileColumn) = std::min(widths.at(fileColumn), std::max(left, least));
}

std::string lineOf(const Row& row, const Widths& widths) {
    std::string line;
    for (std::size_t i = 0; i + 1 < columnCount; ++i) {
        const std::string cell = TerminalText::elidedInMiddle(row.at(i), widths.at(i));
        line += TerminalText::padded(cell, widths.at(i) + gap);
    }
    return line + row.back();
}

void printTable(const CommandContext& context, const std::vector<UndoRecord>& records) {
    std::vector<Row> rows;
    std::transform(records.begin(), records.end(), std::back_inserter(rows),
                   [&](const UndoRecord& record) { return rowOf(context.undo, record); });
    Widths widths = widthsOf(rows);
    if (context.output.isTerminal()) {
        fit(widths, context.output.columns());
    }
    for (const Row& row : rows) {
        context.output.writeLine(lineOf(row, widths));
    }
}

} // namespace

int runHistory(const CommandContext& context) {
    const std::vector<UndoRecord> records = context.undo.records();
    if (context.json) {
        for (const UndoRecord& record : records) {
            context.output.writeLine(jsonLine(jsonOf(context.undo, record)));
        }
    } else if (records.empty()) {
        context.output.writeLine("没有压缩记录。");
    } else {
        printTable(context, records);
    }
    return ExitStatus::success;
}

} // namespace tarnwick
