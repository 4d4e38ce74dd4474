#include "TarnwickCommand/JSONLine.h"

#include "Foundation/Text.h"

#include <nlohmann/json.hpp>

namespace tarnwick {

std::string jsonLine(const JSON& object) {
    return displayableJSON(object.dump(-1, ' ', false, JSON::error_handler_t::replace));
}

} // namespace tarnwick
