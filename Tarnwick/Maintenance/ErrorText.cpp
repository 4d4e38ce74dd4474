#include "Tarnwick/Maintenance/ErrorText.h"

#include "Foundation/CompressionError.h"

namespace tarnwick {

std::string errorDescription(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return errorDescription(exception);
    }
}

QString errorText(const std::exception_ptr& error) {
    return QString::fromStdString(errorDescription(error));
}

} // namespace tarnwick
