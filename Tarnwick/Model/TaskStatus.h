#pragma once

#include <QObject>
#include <string>

namespace tarnwick {

/// The status of a row.
class TaskStatus {
    Q_GADGET

public:
    /// The cases up to Deleting are active.
    enum Case { Waiting, Compressing, Restoring, Deleting, Done, Skipped, Restored, Failed };
    Q_ENUM(Case)

    TaskStatus(Case value = Waiting) : case_(value) {} // NOLINT(google-explicit-constructor)
    static TaskStatus failed(std::string message);

    operator Case() const noexcept { return case_; } // NOLINT(google-explicit-constructor)
    bool isActive() const noexcept { return case_ <= Deleting; }
    /// The text of the failure; empty unless Failed.
    const std::string& message() const noexcept { return message_; }

private:
    Case case_;
    std::string message_;
};

} // namespace tarnwick
