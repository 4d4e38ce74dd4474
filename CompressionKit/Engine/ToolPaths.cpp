#include "Engine/ToolPaths.h"

#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"

#include <unistd.h>

#include <cerrno>

namespace tarnwick {
namespace {

URL link(const URL& target, const URL& name) {
    if (::symlink(target.c_str(), name.c_str()) != 0) {
        throw FileSystemError("无法创建链接", name, errno);
    }
    return name;
}

} // namespace

ToolPaths::ToolPaths(const URL& original, const URL& workDirectory)
    : input_(original), workDirectory_(workDirectory) {
    if (isUTF8(original.path())) {
        return;
    }
    const URL& links = links_.emplace(note_.emplace(temporaryDirectory(), WorkItem::links).item()).url();
    input_ = link(original, links.appending("original." + original.pathExtension()));
    workDirectory_ = link(workDirectory, links.appending("work"));
}

} // namespace tarnwick
