#include "Foundation/Date.h"

#include <chrono>

namespace tarnwick {

Date Date::now() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return Date(std::chrono::duration<double>(sinceEpoch).count() - referenceDateSince1970);
}

} // namespace tarnwick
