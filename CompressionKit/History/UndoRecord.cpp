#include "History/UndoRecord.h"

#include "Foundation/CompressionError.h"

#include <nlohmann/json.hpp>

namespace tarnwick {
namespace {

using nlohmann::json;

constexpr auto preparedText = "prepared";
constexpr auto committedText = "committed";

/// Thrown internally; decode() gives it the text for the user.
struct Unreadable {};

template <typename Value>
Value required(const std::optional<Value>& value) {
    if (!value) {
        throw Unreadable();
    }
    return *value;
}

std::string textAt(const json& record, const char* key) {
    return record.at(key).get_ref<const std::string&>();
}

std::optional<std::string> optionalTextAt(const json& record, const char* key) {
    const auto found = record.find(key);
    return found == record.end() || found->is_null() ? std::nullopt
                                                     : std::optional(found->get_ref<const std::string&>());
}

std::int64_t integerAt(const json& record, const char* key) {
    const json& value = record.at(key);
    if (!value.is_number_integer()) {
        throw Unreadable();
    }
    return value.get<std::int64_t>();
}

double numberAt(const json& record, const char* key) {
    const json& value = record.at(key);
    if (!value.is_number()) {
        throw Unreadable();
    }
    return value.get<double>();
}

std::string pathFrom(const std::string& text) {
    return required(fileFromPortablePathText(text)).path();
}

/// Not trusted: the file of this name gets deleted, so it must not lead out of the session's folder.
std::string fileNameAt(const json& record, const char* key) {
    std::string name = textAt(record, key);
    if (name.empty() || name == "." || name == ".." ||
        name.find_first_of(std::string("/\0", 2)) != std::string::npos) {
        throw Unreadable();
    }
    return name;
}

UndoRecord::State stateAt(const json& record, const char* key) {
    const std::string text = textAt(record, key);
    if (text != preparedText && text != committedText) {
        throw Unreadable();
    }
    return text == committedText ? UndoRecord::State::committed : UndoRecord::State::prepared;
}

UndoRecord recordFrom(const json& object) {
    const auto convertedPath = optionalTextAt(object, "convertedPath");
    return {.id = required(UUID::parse(textAt(object, "id"))),
            .sessionID = required(UUID::parse(textAt(object, "sessionID"))),
            .createdAt = Date(numberAt(object, "createdAt")),
            .originalPath = pathFrom(textAt(object, "originalPath")),
            .backupName = fileNameAt(object, "backupName"),
            .originalBytes = integerAt(object, "originalBytes"),
            .replacementBytes = integerAt(object, "replacementBytes"),
            .replacementHash = textAt(object, "replacementHash"),
            .originalHash = optionalTextAt(object, "originalHash"),
            .state = stateAt(object, "state"),
            .convertedPath = convertedPath ? std::optional(pathFrom(*convertedPath)) : std::nullopt};
}

} // namespace

URL UndoRecord::exchangeURL() const {
    return replacementURL().deletingLastPathComponent().appending(".tarnwick-exchange-" + id.text());
}

Bytes UndoRecord::encoded() const {
    json object = {
        {"id", id.text()},
        {"sessionID", sessionID.text()},
        {"createdAt", createdAt.secondsSinceReferenceDate()},
        {"originalPath", portablePathText(URL::file(originalPath))},
        {"backupName", backupName},
        {"originalBytes", originalBytes},
        {"replacementBytes", replacementBytes},
        {"replacementHash", replacementHash},
        {"state", state == State::committed ? committedText : preparedText},
    };
    if (originalHash) {
        object["originalHash"] = *originalHash;
    }
    if (convertedPath) {
        object["convertedPath"] = portablePathText(URL::file(*convertedPath));
    }
    const std::string text = object.dump();
    return {text.begin(), text.end()};
}

UndoRecord UndoRecord::decode(std::span<const std::uint8_t> json) {
    try {
        return recordFrom(nlohmann::json::parse(json.begin(), json.end()));
    } catch (const nlohmann::json::exception&) {
        throw CompressionError::fileOperation("压缩记录已损坏");
    } catch (const Unreadable&) {
        throw CompressionError::fileOperation("压缩记录已损坏");
    }
}

} // namespace tarnwick
