#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Texts that more than one program shows.
namespace tarnwick::Messages {

/// For a file whose name promises none of the four formats.
constexpr std::string_view unsupportedKind = "目前只支持 PNG、JPG、GIF 和 HEIC/HEIF 图片文件。";

constexpr std::string_view clearQuestion = "清除所有记录？";
constexpr std::string_view clearExplanation = "这会删除所有记录及其原图备份，已压缩的图片将无法恢复原图。";

/// The warning before a batch. `bytes` is how far its backups exceed the budget.
std::string overBudget(std::int64_t bytes);

} // namespace tarnwick::Messages
