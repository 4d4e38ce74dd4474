#include "Tarnwick/Model/TaskStatus.h"

#include <utility>

namespace tarnwick {

TaskStatus TaskStatus::failed(std::string message) {
    TaskStatus status(Failed);
    status.message_ = std::move(message);
    return status;
}

} // namespace tarnwick
