#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace tarnwick {

/// Keeps its members in the order in which they were added.
using JSON = nlohmann::ordered_json;

/// The object on one line, without the line end; text that is not UTF-8 is repaired.
std::string jsonLine(const JSON& object);

} // namespace tarnwick
