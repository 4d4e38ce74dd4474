#pragma once

#include "Foundation/Date.h"
#include "Foundation/URL.h"
#include "Tarnwick/Desktop/Registration.h"

#include <functional>

namespace tarnwick {

/// The notifications between the processes of this program; the full names are "app.tarnwick.Tarnwick."
/// followed by these.
enum class NotificationName {
    /// Another process than a window changed the history: it added or settled records, restored an original,
    /// or removed records or backups. Windows observe it.
    historyDidChange,
    /// An original was restored, or records or backups were removed. The helper observes both.
    undoDidChange,
};

/// "historyDidChange" or "undoDidChange".
constexpr const char* rawValue(NotificationName name) {
    return name == NotificationName::historyDidChange ? "historyDidChange" : "undoDidChange";
}

/// Notifications among the user's processes. Used on one thread, which also runs the handlers.
class DistributedNotifications {
public:
    DistributedNotifications() = default;
    DistributedNotifications(const DistributedNotifications&) = delete;
    DistributedNotifications& operator=(const DistributedNotifications&) = delete;
    virtual ~DistributedNotifications() = default;

    /// Reaches every observer, those of this process too; nobody when the processes cannot be reached.
    virtual void post(NotificationName name) = 0;
    /// Calls `handler` after every post until the registration ends, never from within post().
    virtual Registration observe(NotificationName name, std::function<void()> handler) = 0;
};

/// Reports that the computer woke from sleep.
class WakeMonitor {
public:
    WakeMonitor() = default;
    WakeMonitor(const WakeMonitor&) = delete;
    WakeMonitor& operator=(const WakeMonitor&) = delete;
    virtual ~WakeMonitor() = default;

    /// Calls `handler` on the main thread after every wake until the registration ends.
    virtual Registration observeWake(std::function<void()> handler) = 0;
};

/// Starts the helper that looks after the backups when no window is open.
class HelperLauncher {
public:
    HelperLauncher() = default;
    HelperLauncher(const HelperLauncher&) = delete;
    HelperLauncher& operator=(const HelperLauncher&) = delete;
    virtual ~HelperLauncher() = default;

    /// Starts the helper unless it runs or is not installed. It outlives this process. A failure is only
    /// logged.
    virtual void launch() = 0;
};

/// Shows files in the desktop's file manager.
class FileRevealer {
public:
    FileRevealer() = default;
    FileRevealer(const FileRevealer&) = delete;
    FileRevealer& operator=(const FileRevealer&) = delete;
    virtual ~FileRevealer() = default;

    /// Opens the file's folder and selects the file where the file manager can do so. Does not wait; a
    /// failure is debug output.
    virtual void reveal(const URL& file) = 0;
};

/// The time, and timers.
class Clock {
public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;

    virtual Date now() const = 0;
    /// Calls `handler` once on the calling thread after this many seconds, unless the registration ends
    /// earlier. Time during which the computer sleeps may not count.
    virtual Registration startTimer(double seconds, std::function<void()> handler) = 0;
};

} // namespace tarnwick
