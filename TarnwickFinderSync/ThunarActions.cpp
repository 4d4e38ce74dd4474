#include "TarnwickFinderSync/ThunarActions.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Text.h"
#include "TarnwickFinderSync/MenuTexts.h"

#include <QString>
#include <QXmlStreamReader>
#include <algorithm>
#include <cstddef>
#include <vector>

namespace tarnwick::ThunarActions {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
};

struct Outline {
    /// Our elements: more than one after the user copied it.
    std::vector<Range> ours;
    std::string command;
    /// The closing tag of the root, or the root itself where it is an empty tag.
    Range close;
};

[[noreturn]] void refuse(const std::string& reason) {
    throw CompressionError::fileOperation("Thunar 的自定义动作文件有误，未作更改：" + reason);
}

/// Finds the places of the elements in the text.
class OutlineReader {
public:
    explicit OutlineReader(std::string_view text) {
        if (!isUTF8(text)) {
            refuse("不是 UTF-8");
        }
        const std::string_view body = text.substr(text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0);
        skipped_ = text.size() - body.size();
        characters_ = QString::fromUtf8(body.data(), static_cast<qsizetype>(body.size()));
        // Thunar's parser does not support namespaces.
        reader_.setNamespaceProcessing(false);
        reader_.addData(characters_);
    }

    Outline read() {
        while (!reader_.atEnd()) {
            reader_.readNext();
            if (reader_.isStartElement()) {
                start();
            } else if (reader_.isEndElement()) {
                end();
            } else if (reader_.isCharacters() && depth_ == fieldDepth) {
                field_ += reader_.text();
            }
        }
        if (reader_.hasError()) {
            refuse(QStringLiteral("第 %1 行：%2")
                       .arg(reader_.lineNumber())
                       .arg(reader_.errorString())
                       .toStdString());
        }
        return outline_;
    }

private:
    static constexpr int rootDepth = 1;
    static constexpr int actionDepth = 2;
    static constexpr int fieldDepth = 3;

    void start() {
        ++depth_;
        if (depth_ == rootDepth && reader_.name() != u"actions") {
            refuse("没有 actions 元素");
        }
        if (depth_ == actionDepth) {
            action_ = {tag().begin, 0};
            uniqueID_.clear();
            command_.clear();
        }
        field_.clear();
    }

    void end() {
        if (depth_ == fieldDepth && reader_.name() == u"unique-id") {
            uniqueID_ = field_.trimmed().toStdString();
        } else if (depth_ == fieldDepth && reader_.name() == u"command") {
            command_ = field_.toStdString();
        } else if (depth_ == actionDepth && uniqueID_ == MenuTexts::uniqueID) {
            action_.end = tag().end;
            outline_.ours.push_back(action_);
            outline_.command = command_;
        } else if (depth_ == rootDepth) {
            outline_.close = tag();
        }
        --depth_;
    }

    /// The tag that the reader has just read; a tag contains no other "<". The reader's offset is checked: an
    /// offset that is wrong by one would cut into the user's text.
    Range tag() const {
        const auto offset = std::min<qsizetype>(reader_.characterOffset(), characters_.size());
        const auto begin = QStringView(characters_).first(offset).lastIndexOf(u'<');
        const QStringView found = QStringView(characters_).first(offset).mid(std::max<qsizetype>(begin, 0));
        const bool isNamed =
            found.mid(1).startsWith(reader_.name()) || found.mid(2).startsWith(reader_.name());
        if (!found.startsWith(u'<') || !found.endsWith(u'>') || !isNamed) {
            refuse("无法定位元素");
        }
        return {bytesBefore(begin), bytesBefore(offset)};
    }

    std::size_t bytesBefore(qsizetype offset) const {
        return skipped_ + static_cast<std::size_t>(QStringView(characters_).first(offset).toUtf8().size());
    }

    std::size_t skipped_ = 0;
    QString characters_;
    QXmlStreamReader reader_;
    int depth_ = 0;
    Range action_;
    std::string uniqueID_;
    std::string command_;
    QString field_;
    Outline outline_;
};

/// Removes all of our elements except the first `kept`.
std::string withoutOurs(std::string_view text, const std::vector<Range>& ours, std::size_t kept) {
    std::string result(text);
    for (std::size_t i = ours.size(); i > kept; --i) {
        const Range& range = ours[i - 1];
        const std::size_t end = range.end + (text.substr(range.end).starts_with('\n') ? 1 : 0);
        result.erase(range.begin, end - range.begin);
    }
    return result;
}

} // namespace

std::optional<std::string> ourCommand(std::string_view text) {
    const Outline outline = OutlineReader(text).read();
    return outline.ours.empty() ? std::nullopt : std::optional(outline.command);
}

std::string withAction(std::string_view text, std::string_view action) {
    const Outline outline = OutlineReader(text).read();
    if (!outline.ours.empty()) {
        const Range& first = outline.ours.front();
        return withoutOurs(text, outline.ours, 1)
            .replace(first.begin, first.end - first.begin, trimmed(action));
    }
    std::string result(text);
    const Range& close = outline.close;
    if (text.substr(close.begin).starts_with("</")) {
        return result.insert(close.begin, action);
    }
    // <actions/>
    return result.replace(close.end - 2, 2, ">\n" + std::string(action) + "</actions>");
}

std::string withoutAction(std::string_view text) {
    return withoutOurs(text, OutlineReader(text).read().ours, 0);
}

} // namespace tarnwick::ThunarActions
