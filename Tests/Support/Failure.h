#pragma once

#include "Foundation/CompressionError.h"

#include <string>
#include <system_error>

namespace tarnwick::test {

/// The text of the error that the operation throws; "no failure", or "canceled" for a stopped job.
template <typename Operation>
std::string failureOf(Operation&& operation) {
    try {
        operation();
        return "no failure";
    } catch (const std::system_error& error) {
        return error.code() == std::errc::operation_canceled ? "canceled" : error.what();
    } catch (const std::exception& error) {
        return errorDescription(error);
    }
}

} // namespace tarnwick::test
