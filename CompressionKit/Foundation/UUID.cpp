#include "Foundation/UUID.h"

#include <uuid/uuid.h>

namespace tarnwick {

UUID UUID::random() {
    UUID uuid;
    uuid_generate_random(uuid.bytes_.data());
    return uuid;
}

std::optional<UUID> UUID::parse(const std::string& text) {
    UUID uuid;
    if (text.size() != UUID_STR_LEN - 1 || uuid_parse(text.c_str(), uuid.bytes_.data()) != 0) {
        return std::nullopt;
    }
    return uuid;
}

std::string UUID::text() const {
    std::array<char, UUID_STR_LEN> text{};
    uuid_unparse_upper(bytes_.data(), text.data());
    return {text.data()};
}

} // namespace tarnwick
