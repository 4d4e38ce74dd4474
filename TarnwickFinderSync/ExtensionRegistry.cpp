#include "TarnwickFinderSync/ExtensionRegistry.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Foundation/Text.h"
#include "Foundation/UUID.h"

#include <fmt/chrono.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <utility>

namespace tarnwick {

// Not in the unnamed namespace: the JSON library finds it by argument-dependent lookup.
NLOHMANN_JSON_SERIALIZE_ENUM(ExtensionRegistry::Election, {{ExtensionRegistry::Election::use, "use"},
                                                           {ExtensionRegistry::Election::ignore, "ignore"}})

namespace {

using Registration = ExtensionRegistry::Registration;

Registration fromJSON(const nlohmann::json& json) {
    return {{URL::file(json.at("path").get<std::string>()), json.at("identifier"), json.at("version")},
            json.at("uuid"),
            json.at("date")};
}

nlohmann::json toJSON(const Registration& registration) {
    return {{"path", registration.bundle.location.path()},
            {"identifier", registration.bundle.identifier},
            {"version", registration.bundle.version},
            {"uuid", registration.uuid},
            {"date", registration.date}};
}

std::string nowAsText() {
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    return fmt::format("{:%Y-%m-%d %H:%M:%S} +0000", fmt::gmtime(now));
}

} // namespace

ExtensionRegistry::ExtensionRegistry(URL file) : file_(std::move(file)) {
    const auto text = readIfPresent(file_);
    if (!text) {
        return;
    }
    try {
        const auto stored = nlohmann::json::parse(*text);
        for (const auto& item : stored.at("bundles")) {
            registrations_.push_back(fromJSON(item));
        }
        stored.at("elections").get_to(elections_);
    } catch (const nlohmann::json::exception&) {
        throw CompressionError::fileOperation("文件“" + displayText(file_.path()) + "”已损坏，请将其删除");
    }
}

void ExtensionRegistry::add(const ExtensionBundle& bundle) {
    std::string uuid = UUID::random().text();
    std::erase_if(registrations_, [&](const Registration& earlier) {
        if (earlier.bundle.location == bundle.location) {
            uuid = earlier.uuid;
        }
        return earlier.bundle.location == bundle.location || !itemExists(earlier.bundle.location);
    });
    registrations_.push_back({bundle, uuid, nowAsText()});
}

void ExtensionRegistry::elect(const std::string& identifier, Election election) {
    elections_[identifier] = election;
}

std::vector<Registration> ExtensionRegistry::registrations(const std::string& identifier) const {
    std::vector<Registration> found;
    std::copy_if(registrations_.begin(), registrations_.end(), std::back_inserter(found),
                 [&](const Registration& item) { return item.bundle.identifier == identifier; });
    return found;
}

std::optional<ExtensionRegistry::Election> ExtensionRegistry::election(const std::string& identifier) const {
    const auto found = elections_.find(identifier);
    return found == elections_.end() ? std::nullopt : std::optional(found->second);
}

void ExtensionRegistry::save() const {
    nlohmann::json stored = {{"bundles", nlohmann::json::array()}, {"elections", elections_}};
    for (const Registration& item : registrations_) {
        stored["bundles"].push_back(toJSON(item));
    }
    writeFileAtomically(resolvingLinks(file_), bytesOf(stored.dump(1) + "\n"), 0600);
}

} // namespace tarnwick
