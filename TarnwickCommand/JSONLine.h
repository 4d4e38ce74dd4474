#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace tarnwick {

/// Keeps its members in insertion order.
using JSON = nlohmann::ordered_json;

/// The object on one line, without a line end. Replaces invalid UTF-8, and escapes what displayText()
/// replaces.
std::string jsonLine(const JSON& object);

} // namespace tarnwick
