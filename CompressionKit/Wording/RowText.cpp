#include "Wording/RowText.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace tarnwick::RowText {
namespace {

constexpr std::int64_t kilo = 1'000;
constexpr std::int64_t mega = kilo * kilo;
constexpr std::int64_t giga = mega * kilo;

/// bytes ÷ unit, rounded half up. Adding before dividing could overflow.
std::int64_t rounded(std::int64_t bytes, std::int64_t unit) {
    return bytes / unit + (bytes % unit >= unit / 2 ? 1 : 0);
}

std::int64_t percent(std::int64_t part, std::int64_t whole) {
    if (whole == 0) {
        return 0;
    }
    const bool fits = part <= std::numeric_limits<std::int64_t>::max() / 100;
    return fits ? part * 100 / whole : part / (whole / 100);
}

} // namespace

std::string byteCount(std::int64_t bytes) {
    if (bytes < kilo) {
        return fmt::format("{} B", std::max<std::int64_t>(bytes, 0));
    }
    if (const auto kilobytes = rounded(bytes, kilo); kilobytes < 1'000) {
        return fmt::format("{} KB", kilobytes);
    }
    if (const auto tenths = rounded(bytes, mega / 10); tenths < 10'000) {
        return fmt::format("{}.{} MB", tenths / 10, tenths % 10);
    }
    const auto hundredths = rounded(bytes, giga / 100);
    return fmt::format("{}.{:02} GB", hundredths / 100, hundredths % 100);
}

std::string badge(std::int64_t originalBytes, std::int64_t finalBytes) {
    // The counts may come from a record on disk: negative ones would overflow the difference.
    const auto original = std::max<std::int64_t>(originalBytes, 0);
    const auto saved = original - std::max<std::int64_t>(finalBytes, 0);
    return saved < 1 ? "已转换" : fmt::format("↓ {}%", percent(saved, original));
}

std::optional<std::string> badge(const CompressionResult& result) {
    return result.outcome == CompressionOutcome::skipped
               ? std::nullopt
               : std::optional(badge(result.originalBytes, result.finalBytes));
}

std::string sizes(std::int64_t originalBytes, std::int64_t finalBytes) {
    return byteCount(originalBytes) + " → " + byteCount(finalBytes);
}

std::string finished(const CompressionResult& result) {
    if (result.outcome == CompressionOutcome::skipped) {
        return std::string(skipped);
    }
    return sizes(result.originalBytes, result.finalBytes) + " · " + result.encoder.value_or("");
}

std::string failed(std::string_view message) {
    return fmt::format("压缩失败：{}", message);
}

} // namespace tarnwick::RowText
