#include "TarnwickFinderSync/ThunarMenuEntry.h"

#include "Foundation/FileContents.h"
#include "Foundation/FileOperations.h"
#include "Foundation/Text.h"
#include "TarnwickFinderSync/MenuTexts.h"
#include "TarnwickFinderSync/ThunarActions.h"

#include <utility>

namespace tarnwick {
namespace {

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
    const auto present = readIfPresent(file_);
    const std::string base = present ? *present : initialContents();
    const std::string contents = ThunarActions::withAction(base, MenuTexts::thunarAction(application_));
    if (!present) {
        created_.createDirectories(file_.deletingLastPathComponent());
        created_.add(file_);
    }
    writeFileAtomically(resolvingLinks(file_), bytesOf(contents), modeOfFile(file_, 0644));
}

void ThunarMenuEntry::remove() const {
    const auto present = readIfPresent(file_);
    if (!mayHaveOurs(present)) {
        return;
    }
    const std::string rest = ThunarActions::withoutAction(*present);
    if (isAsCreated(rest)) {
        removeFile(file_);
    } else if (rest != *present) {
        writeFileAtomically(resolvingLinks(file_), bytesOf(rest), modeOfFile(file_, 0644));
    }
    created_.forget(file_);
    created_.removeEmptyDirectories(file_.deletingLastPathComponent());
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
