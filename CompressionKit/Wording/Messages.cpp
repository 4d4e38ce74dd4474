#include "Wording/Messages.h"

#include "Wording/RowText.h"

#include <fmt/format.h>

namespace tarnwick::Messages {

std::string overBudget(std::int64_t bytes) {
    return fmt::format("原图备份总共只保留 5 GiB，这些图片会超出 {}；超出的部分压缩后无法恢复原图。",
                       RowText::byteCount(bytes));
}

} // namespace tarnwick::Messages
