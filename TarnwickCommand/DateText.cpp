#include "TarnwickCommand/DateText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

namespace tarnwick::DateText {
namespace {

std::time_t timeOf(Date date) {
    constexpr double yearOne = -62'135'596'800;
    // One day less, so no time zone gives the year 10000.
    constexpr double endOf9999 = 253'402'214'399;
    return static_cast<std::time_t>(std::clamp(std::floor(date.secondsSince1970()), yearOne, endOf9999));
}

std::string formatted(const std::tm& parts, const char* format) {
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &parts)};
}

std::string locally(Date date, const char* format) {
    const std::time_t time = timeOf(date);
    std::tm parts{};
    return ::localtime_r(&time, &parts) == nullptr ? std::string() : formatted(parts, format);
}

} // namespace

std::string iso8601(Date date) {
    const std::time_t time = timeOf(date);
    std::tm parts{};
    return ::gmtime_r(&time, &parts) == nullptr ? std::string() : formatted(parts, "%4Y-%m-%dT%H:%M:%SZ");
}

std::string local(Date date) {
    return locally(date, "%4Y-%m-%d %H:%M");
}

std::string localTime(Date date) {
    return locally(date, "%H:%M");
}

} // namespace tarnwick::DateText
