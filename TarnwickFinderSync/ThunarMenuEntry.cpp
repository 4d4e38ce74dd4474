#include "TarnwickFinderSync/ThunarMenuEntry.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Foundation/GuardedFile.h"
#include "Foundation/Text.h"
#include "TarnwickFinderSync/MenuTexts.h"
#include "TarnwickFinderSync/ThunarActions.h"

#include <utility>

namespace tarnwick {
namespace {

constexpr int maximumAttempts = 10;
constexpr std::string_view fileName = "Thunar/uca.xml";

/// Does not parse: a damaged file without our action must not cause an error.
bool mayHaveOurs(const std::optional<std::string>& contents) {
    return contents && contents->find(MenuTexts::uniqueID) != std::string::npos;
}

} // namespace

ThunarMenuEntry::ThunarMenuEntry(std::string application, const UserDirectories& directories,
                                 CreatedItems& created)
    : application_(std::move(application)), file_(directories.configuration.appending(fileName)),
      created_(created) {
    for (const URL& folder : directories.systemConfiguration) {
        systemFiles_.push_back(folder.appending(fileName));
    }
}

bool ThunarMenuEntry::exists() const {
    return presentCommand().has_value();
}

bool ThunarMenuEntry::isCurrent() const {
    return presentCommand() == MenuTexts::thunarCommand(application_);
}

void ThunarMenuEntry::write() const {
    if (isCurrent()) {
        return;
    }
    change([this](const std::optional<std::string>& present) {
        const std::string base = present ? *present : initialContents();
        const std::string contents = ThunarActions::withAction(base, MenuTexts::thunarAction(application_));
        if (!present) {
            created_.createDirectories(file_.deletingLastPathComponent());
            created_.add(file_);
        }
        return replaceText(resolvingLinks(file_), present, contents, modeOfFile(file_, 0644));
    });
}

void ThunarMenuEntry::remove() const {
    if (!mayHaveOurs(readIfPresent(file_))) {
        return;
    }
    change([this](const std::optional<std::string>& present) {
        const std::string rest = present ? ThunarActions::withoutAction(*present) : "";
        if (!present || rest == *present) {
            return true;
        }
        return isAsCreated(rest) ? removeText(file_, *present)
                                 : replaceText(resolvingLinks(file_), present, rest, modeOfFile(file_, 0644));
    });
    created_.forget(file_);
    created_.removeEmptyDirectories(file_.deletingLastPathComponent());
}

/// Calls `attempt` with the file's text. It returns false when another program changed the file meanwhile.
void ThunarMenuEntry::change(const std::function<bool(const std::optional<std::string>&)>& attempt) const {
    for (int count = 1; !attempt(readIfPresent(file_)); ++count) {
        if (count == maximumAttempts) {
            throw CompressionError::fileOperation("文件“" + displayText(file_.path()) + "”正被其他程序修改");
        }
    }
}

std::optional<std::string> ThunarMenuEntry::presentCommand() const {
    const auto present = readIfPresent(file_);
    return mayHaveOurs(present) ? ThunarActions::ourCommand(*present) : std::nullopt;
}

/// The user's file replaces the system's, so it begins as a copy of that.
std::string ThunarMenuEntry::initialContents() const {
    for (const URL& file : systemFiles_) {
        if (auto contents = readIfPresent(file)) {
            return *contents;
        }
    }
    return std::string(ThunarActions::emptyFile);
}

bool ThunarMenuEntry::isAsCreated(const std::string& contents) const {
    return created_.contains(file_) && contents == initialContents();
}

} // namespace tarnwick
