#include "Support/Pictures.h"

namespace tarnwick::test {

URL picture(const std::string& name) {
    return URL::file(TARNWICK_PICTURES).appending(name);
}

Bytes pictureBytes(const std::string& name) {
    constexpr std::size_t maximumBytes = std::size_t{1} << 20U;
    return readFile(picture(name), maximumBytes);
}

std::string pictureText(const std::string& name) {
    const Bytes bytes = pictureBytes(name);
    return {bytes.begin(), bytes.end()};
}

URL copyPicture(const std::string& name, const URL& destination) {
    writeFile(destination, pictureBytes(name));
    return destination;
}

} // namespace tarnwick::test
