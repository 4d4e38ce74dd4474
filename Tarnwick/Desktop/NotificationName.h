#pragma once

namespace tarnwick {

/// What the processes of this program tell each other; the full names are "app.tarnwick.Tarnwick." and these.
enum class NotificationName {
    /// Another program than the application added to the history or removed from it.
    historyDidChange,
    /// The application restored an original, or deleted records.
    undoDidChange,
};

/// "historyDidChange" or "undoDidChange".
constexpr const char* rawValue(NotificationName name) {
    return name == NotificationName::historyDidChange ? "historyDidChange" : "undoDidChange";
}

} // namespace tarnwick
