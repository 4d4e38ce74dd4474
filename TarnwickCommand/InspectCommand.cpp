#include "TarnwickCommand/InspectCommand.h"

#include "Engine/Original.h"
#include "Foundation/CompressionError.h"
#include "Foundation/FileDescriptor.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"
#include "Inspection/ImageFacts.h"
#include "TarnwickCommand/Arguments.h"
#include "TarnwickCommand/GivenPath.h"
#include "TarnwickCommand/JSONLine.h"
#include "Wording/Messages.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <numeric>

namespace tarnwick {
namespace {

/// Throws the cause when the file cannot be read, where inspecting would only report an undecodable picture.
/// Checks the type first: opening a pipe would block.
void requireReadableFile(const URL& url) {
    struct stat status {};
    if (::stat(url.c_str(), &status) != 0) {
        throw FileSystemError("无法读取文件信息", url, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        throw CompressionError::fileOperation(notARegularFile);
    }
    if (!ImageKind::from(url)) {
        throw CompressionError::fileOperation(std::string(Messages::unsupportedKind));
    }
    openForReading(url);
}

ImageFacts factsOf(const std::string& path) {
    const URL url = GivenPath::url(path);
    requireReadableFile(url);
    return ImageFacts::inspect(url);
}

JSON jsonOf(const std::string& path, const ImageFacts& facts) {
    JSON object = {{"path", GivenPath::portableText(path)},
                   {"kind", facts.kind.rawValue()},
                   {"width", facts.width},
                   {"height", facts.height},
                   {"frameCount", facts.frameCount},
                   {"hasAlpha", facts.hasAlpha}};
    if (facts.profileName) {
        object["profileName"] = *facts.profileName;
    }
    object["orientation"] = facts.orientation;
    object["hasJPEGMultiPictureData"] = facts.hasJPEGMultiPictureData;
    if (facts.gifLoopCount) {
        object["gifLoopCount"] = *facts.gifLoopCount;
    }
    if (!facts.gifFrameDelays.empty()) {
        object["gifFrameDelays"] = facts.gifFrameDelays;
    }
    return object;
}

std::string delaysText(const std::vector<double>& delays) {
    const auto [shortest, longest] = std::minmax_element(delays.begin(), delays.end());
    const double total = std::accumulate(delays.begin(), delays.end(), 0.0);
    const std::string each = *shortest == *longest ? fmt::format("{:.2f}", *shortest)
                                                   : fmt::format("{:.2f}–{:.2f}", *shortest, *longest);
    return fmt::format("每帧 {} 秒，共 {:.2f} 秒", each, total);
}

std::string loopText(const std::optional<std::int64_t>& count) {
    if (!count) {
        return "未指定";
    }
    return *count == 0 ? "无限" : fmt::format("{} 次", *count);
}

std::string textOf(const std::string& path, const ImageFacts& facts) {
    std::string text = displayText(path) + "\n";
    const auto add = [&text](std::string_view name, std::string_view value) {
        text += fmt::format("  {}：{}\n", name, value);
    };
    add("格式", facts.kind.rawValue());
    add("尺寸", fmt::format("{} × {}", facts.width, facts.height));
    add("帧数", std::to_string(facts.frameCount));
    add("透明通道", facts.hasAlpha ? "有" : "无");
    add("颜色配置", facts.profileName ? displayText(*facts.profileName) : "无");
    add("方向", std::to_string(facts.orientation));
    if (facts.kind == ImageKind::jpeg) {
        add("多图数据", facts.hasJPEGMultiPictureData ? "有" : "无");
    }
    if (facts.kind == ImageKind::gif) {
        add("循环", loopText(facts.gifLoopCount));
    }
    if (!facts.gifFrameDelays.empty()) {
        add("延迟", delaysText(facts.gifFrameDelays));
    }
    return text;
}

void reportFailure(const CommandContext& context, const std::string& path, const std::string& message) {
    if (context.json) {
        context.output.writeLine(jsonLine({{"path", GivenPath::portableText(path)}, {"error", message}}));
    } else {
        printError(displayText(path) + "：" + displayText(message));
    }
}

} // namespace

int runInspect(const CommandContext& context, const std::vector<std::string>& paths) {
    int status = ExitStatus::success;
    for (const std::string& path : paths) {
        context.throwIfCancelled();
        std::optional<ImageFacts> facts;
        try {
            facts = factsOf(path);
        } catch (const std::exception& error) {
            reportFailure(context, path, errorDescription(error));
            status = ExitStatus::failure;
        }
        if (facts) {
            context.output.write(context.json ? jsonLine(jsonOf(path, *facts)) + "\n" : textOf(path, *facts));
        }
    }
    return status;
}

} // namespace tarnwick
