#include "Tarnwick/Model/ErrorText.h"

#include "Foundation/CompressionError.h"
#include "Tarnwick/Model/Conversions.h"

namespace tarnwick {

std::string errorDescription(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return errorDescription(exception);
    }
}

QString errorText(const std::exception_ptr& error) {
    return toQString(errorDescription(error));
}

} // namespace tarnwick
