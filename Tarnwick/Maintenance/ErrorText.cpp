#include "Tarnwick/Maintenance/ErrorText.h"

#include "Foundation/CompressionError.h"

namespace tarnwick {

QString errorText(const std::exception_ptr& error) {
    return QString::fromStdString(errorDescription(error));
}

} // namespace tarnwick
