#include "TarnwickCommand/CompressReporter.h"

#include "Foundation/Text.h"
#include "TarnwickCommand/GivenPath.h"
#include "TarnwickCommand/JSONLine.h"
#include "TarnwickCommand/TerminalReporter.h"
#include "Wording/RowText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tarnwick {
namespace {

JSON jsonOf(const CompressionResult& result) {
    JSON object = {{"outcome", rawValue(result.outcome)},
                   {"url", result.url.absoluteString()},
                   {"originalBytes", result.originalBytes},
                   {"finalBytes", result.finalBytes}};
    if (result.encoder) {
        object["encoder"] = *result.encoder;
    }
    if (result.qualityScore) {
        object["qualityScore"] = *result.qualityScore;
    }
    if (result.undoRecord) {
        object["undoRecord"] = result.undoRecord->id.text();
    }
    return object;
}

class JSONReporter final : public CompressReporter {
public:
    explicit JSONReporter(const Output& output) : output_(output) {}

    void begin(const CollectedFile& /*file*/, const BatchProgress& /*progress*/) override {}
    void end(const CollectedFile& file, const FileOutcome& outcome,
             const BatchProgress& /*progress*/) override {
        JSON object = {{"path", GivenPath::portableText(file.path)}};
        object.update(outcome.result ? jsonOf(*outcome.result)
                                     : JSON{{"outcome", "failed"}, {"error", outcome.error}});
        if (outcome.isOwnResult) {
            object["reason"] = "ownResult";
        }
        output_.writeLine(jsonLine(object));
    }
    void finish(const BatchProgress& /*progress*/) override {}

private:
    const Output& output_;
};

class PlainReporter final : public CompressReporter {
public:
    explicit PlainReporter(const Output& output) : output_(output) {}

    void begin(const CollectedFile& /*file*/, const BatchProgress& /*progress*/) override {}
    void end(const CollectedFile& file, const FileOutcome& outcome,
             const BatchProgress& /*progress*/) override {
        output_.writeLine(displayText(file.path) + "  " + outcomeText(outcome));
    }
    void finish(const BatchProgress& progress) override { output_.write(batchSummary(progress)); }

private:
    const Output& output_;
};

} // namespace

void BatchProgress::count(const FileOutcome& outcome) {
    ++done;
    if (!outcome.result) {
        ++failed;
        return;
    }
    switch (outcome.result->outcome) {
    case CompressionOutcome::replaced:
        ++replaced;
        savedBytes += outcome.result->savedBytes();
        break;
    case CompressionOutcome::converted:
        ++converted;
        break;
    case CompressionOutcome::skipped:
        ++skipped;
        break;
    }
}

std::string outcomeText(const FileOutcome& outcome) {
    if (!outcome.result) {
        return RowText::failed(displayText(outcome.error));
    }
    if (outcome.isOwnResult) {
        return "已是压缩过的结果，未再次压缩（加上 --again 可再次压缩）";
    }
    const auto badge = RowText::badge(*outcome.result);
    return RowText::finished(*outcome.result) + (badge ? "  " + *badge : "");
}

std::string batchSummary(const BatchProgress& progress) {
    if (progress.total == 0) {
        return "没有找到可以压缩的图片。\n";
    }
    if (progress.total == 1) {
        return {};
    }
    std::string text = fmt::format("{}/{} 个文件：压缩 {}", progress.done, progress.total, progress.replaced);
    if (progress.converted > 0) {
        text += fmt::format("，转换 {}", progress.converted);
    }
    return text + fmt::format("，未变 {}，失败 {}；共节省 {}\n", progress.skipped, progress.failed,
                              RowText::byteCount(progress.savedBytes));
}

std::unique_ptr<CompressReporter> makeCompressReporter(const Output& output, bool json,
                                                       const std::vector<CollectedFile>& files) {
    if (json) {
        return std::make_unique<JSONReporter>(output);
    }
    if (output.isTerminal()) {
        return std::make_unique<TerminalReporter>(output, files);
    }
    return std::make_unique<PlainReporter>(output);
}

} // namespace tarnwick
