#pragma once

#include "Engine/CompressionResult.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The texts of the rows in a list of pictures.
namespace tarnwick::RowText {

constexpr std::string_view waiting = "等待压缩";
constexpr std::string_view compressing = "正在压缩…";
constexpr std::string_view restoring = "正在恢复原图…";
constexpr std::string_view deleting = "正在删除记录…";
constexpr std::string_view done = "已完成";
constexpr std::string_view restored = "已恢复原图";
constexpr std::string_view skipped = "未找到更小且质量合格的结果";

/// In the style of file managers: "999 B", "12 KB", "1.5 MB", "2.04 GB". Units are decimal; halves round up;
/// a negative count gives "0 B".
std::string byteCount(std::int64_t bytes);

/// "↓ 33%", or "已转换" when nothing was saved.
std::string badge(std::int64_t originalBytes, std::int64_t finalBytes);
/// None for a skipped file.
std::optional<std::string> badge(const CompressionResult& result);

/// "1.2 MB → 800 KB"
std::string sizes(std::int64_t originalBytes, std::int64_t finalBytes);
/// The status of a finished row, without its badge.
std::string finished(const CompressionResult& result);
std::string failed(std::string_view message);

} // namespace tarnwick::RowText
