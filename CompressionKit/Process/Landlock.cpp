#include "Process/Landlock.h"

#include "Foundation/FileSystemError.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace tarnwick {
namespace {

/// The attributes up to version 6. The header of Debian 12 has version 2.
struct RulesetAttributes {
    std::uint64_t files;
    std::uint64_t network;
    std::uint64_t scopes;
};
constexpr std::uint64_t truncateFile = std::uint64_t{1} << 14;
constexpr std::uint64_t bindAndConnect = 3;
constexpr std::uint64_t socketsAndSignals = 3;

constexpr std::uint64_t readOnly = LANDLOCK_ACCESS_FS_READ_FILE;
constexpr std::uint64_t readAndExecute = readOnly | LANDLOCK_ACCESS_FS_EXECUTE;
/// No links: this process follows the name of an output later, with all rights of the user.
constexpr std::uint64_t work = readOnly | LANDLOCK_ACCESS_FS_READ_DIR | LANDLOCK_ACCESS_FS_WRITE_FILE |
                               LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_REMOVE_FILE | truncateFile;

/// What the dynamic loader reads. A machine has only some of them.
constexpr std::array libraries = {"/etc/ld.so.cache", "/lib",       "/lib32",     "/lib64",
                                  "/usr/lib",         "/usr/lib32", "/usr/lib64", "/usr/local/lib"};

/// All rights to files that this version knows; the kernel refuses a ruleset with others.
std::uint64_t knownRights(int version) {
    constexpr std::array rightsOfVersion = {13, 14, 15, 15, 16};
    const auto index = std::min(static_cast<std::size_t>(version), rightsOfVersion.size()) - 1;
    return (std::uint64_t{1} << rightsOfVersion.at(index)) - 1;
}

[[noreturn]] void fail(const URL& url) {
    throw FileSystemError("无法限制压缩组件的权限", url, errno);
}

/// Gives the right to what is at the path now, whatever links lead to it. An absent file needs no right.
void allow(const FileDescriptor& ruleset, const URL& url, std::uint64_t rights) {
    const FileDescriptor place(::open(url.c_str(), O_PATH | O_CLOEXEC));
    if (!place) {
        return;
    }
    landlock_path_beneath_attr rule = {};
    rule.allowed_access = rights & knownRights(Landlock::version());
    rule.parent_fd = place.get();
    if (::syscall(SYS_landlock_add_rule, ruleset.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0) != 0) {
        fail(url);
    }
}

} // namespace

int Landlock::version() noexcept {
    static const auto version =
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION));
    return std::max(version, 0);
}

FileDescriptor Landlock::ruleset(const URL& program, const std::optional<CageRules::Files>& files) {
    const bool hasNetwork = version() >= 4;
    if (version() == 0 || (!files && !hasNetwork)) {
        return {};
    }
    const RulesetAttributes attributes = {.files = files ? knownRights(version()) : 0,
                                          .network = hasNetwork ? bindAndConnect : 0,
                                          .scopes = version() >= 6 ? socketsAndSignals : 0};
    FileDescriptor ruleset(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &attributes, sizeof(attributes), 0)));
    if (!ruleset) {
        fail(program);
    }
    if (!files) {
        return ruleset;
    }
    allow(ruleset, program, readAndExecute);
    for (const char* library : libraries) {
        allow(ruleset, URL::file(library), readAndExecute);
    }
    for (const URL& file : files->readable) {
        allow(ruleset, file, readOnly);
    }
    for (const URL& folder : files->writable) {
        allow(ruleset, folder, work);
    }
    return ruleset;
}

} // namespace tarnwick
