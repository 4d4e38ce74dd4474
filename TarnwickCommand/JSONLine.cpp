#include "TarnwickCommand/JSONLine.h"

#include <nlohmann/json.hpp>

namespace tarnwick {

std::string jsonLine(const JSON& object) {
    return object.dump(-1, ' ', false, JSON::error_handler_t::replace);
}

} // namespace tarnwick
