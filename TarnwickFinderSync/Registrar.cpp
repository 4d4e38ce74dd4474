#include "TarnwickFinderSync/Registrar.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileLock.h"
#include "Foundation/Text.h"
#include "TarnwickFinderSync/FileManagerMenus.h"
#include "TarnwickFinderSync/PluginLookup.h"

#include <fmt/format.h>
#include <sysexits.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace tarnwick {
namespace {

using Election = ExtensionRegistry::Election;

constexpr std::string_view usage = "usage: pluginkit -a PATH\n"
                                   "       pluginkit -e use|ignore -i IDENTIFIER\n"
                                   "       pluginkit -m -D -v -i IDENTIFIER\n";

void writeText(std::FILE* stream, const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stream) != text.size() || std::fflush(stream) != 0) {
        throw CompressionError::fileOperation("无法输出结果");
    }
}

bool isElection(const std::vector<std::string>& arguments) {
    return arguments.size() == 4 && arguments[0] == "-e" &&
           (arguments[1] == "use" || arguments[1] == "ignore") && arguments[2] == "-i";
}

bool isListing(const std::vector<std::string>& arguments) {
    return arguments.size() == 5 && arguments[0] == "-m" && arguments[1] == "-D" && arguments[2] == "-v" &&
           arguments[3] == "-i";
}

int dispatch(const std::vector<std::string>& arguments, const Registrar& registrar) {
    if (arguments.size() == 2 && arguments[0] == "-a") {
        registrar.add(URL::file(arguments[1]));
    } else if (isElection(arguments)) {
        const Election election = arguments[1] == "use" ? Election::use : Election::ignore;
        writeText(stdout, registrar.elect(arguments[3], election));
    } else if (isListing(arguments)) {
        writeText(stdout, registrar.list(arguments[4]));
    } else {
        writeText(stderr, std::string(usage));
        return EX_USAGE;
    }
    return EXIT_SUCCESS;
}

bool hasEntry(const std::vector<FileManagerMenus::State>& states) {
    return std::any_of(states.begin(), states.end(), [](const auto& state) { return state.isEnabled; });
}

/// Returns a line for each menu without its entry. Throws CompressionError when no menu has one.
std::string enableInstalled(const FileManagerMenus& menus) {
    try {
        menus.enableInstalled();
        return {};
    } catch (const CompressionError& error) {
        if (!hasEntry(menus.states())) {
            throw;
        }
        return error.errorDescription() + "\n";
    }
}

} // namespace

Registrar::Registrar(UserDirectories directories) : directories_(std::move(directories)) {}

void Registrar::add(const URL& location) const {
    // The list has one line for each bundle and does not escape its path.
    if (displayText(location.path()) != location.path()) {
        throw CompressionError::fileOperation("路径含有换行等控制字符或不是 UTF-8，无法登记：" +
                                              displayText(location.path()));
    }
    const ExtensionBundle bundle = ExtensionBundle::at(location);
    {
        const auto lock = FileLock::acquireFolder(folder());
        ExtensionRegistry registry(file());
        registry.add(bundle);
        registry.save();
    }
    FileManagerMenus(applicationOfExtension(location), directories_).refresh();
}

std::string Registrar::elect(const std::string& identifier, Election election) const {
    std::string failures;
    const URL application = applicationOfExtension(registrations(identifier).back().bundle.location);
    const FileManagerMenus menus(application, directories_);
    if (election == Election::ignore) {
        menus.disableAll();
    } else if (hasProgram(application.lastPathComponent(), {application.deletingLastPathComponent()})) {
        failures = enableInstalled(menus);
    } else {
        throw CompressionError::fileOperation("找不到应用程序：" + displayText(application.path()));
    }
    const auto lock = FileLock::acquireFolder(folder());
    ExtensionRegistry registry(file());
    registry.elect(identifier, election);
    registry.save();
    return failures;
}

std::string Registrar::list(const std::string& identifier) const {
    const auto election = ExtensionRegistry(file()).election(identifier);
    std::string lines;
    for (const auto& [bundle, uuid, date] : registrations(identifier)) {
        lines += fmt::format("{}    {}({})\t{}\t{}\t{}\n", mark(bundle.location, election), identifier,
                             bundle.version, uuid, date, bundle.location.path());
    }
    return lines;
}

URL Registrar::folder() const {
    return directories_.data.appending("Tarnwick");
}

URL Registrar::file() const {
    return folder().appending("FinderExtensions.json");
}

/// Never empty.
std::vector<ExtensionRegistry::Registration> Registrar::registrations(const std::string& identifier) const {
    auto found = ExtensionRegistry(file()).registrations(identifier);
    if (found.empty()) {
        throw CompressionError::fileOperation("没有登记过的扩展：" + displayText(identifier));
    }
    return found;
}

char Registrar::mark(const URL& bundle, std::optional<Election> election) const {
    const auto states = FileManagerMenus(applicationOfExtension(bundle), directories_).states();
    const auto isInstalled = [](const auto& state) { return state.isInstalled; };
    const bool canHaveOne = std::any_of(states.begin(), states.end(), isInstalled);
    if (hasEntry(states) || (election == Election::use && !canHaveOne)) {
        return '+';
    }
    return election == Election::ignore ? '-' : ' ';
}

int runRegistrar(const std::vector<std::string>& arguments, const UserDirectories& directories) {
    try {
        return dispatch(arguments, Registrar(directories));
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "pluginkit: %s\n", errorDescription(error).c_str()));
        return EXIT_FAILURE;
    }
}

} // namespace tarnwick
