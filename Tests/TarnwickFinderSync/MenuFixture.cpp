#include "TarnwickFinderSync/MenuFixture.h"

#include "Foundation/FileDescriptor.h"
#include "Process/ChildProcess.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>

namespace tarnwick::test {
namespace fs = std::filesystem;

MenuFixture::MenuFixture()
    : directories{.data = machine / "home/.local/share",
                  .configuration = machine / "home/.config",
                  .systemConfiguration = {machine / "etc/xdg"},
                  .executables = {machine / "bin"},
                  .libraries = {machine / "lib"}},
      application(makeApplication("It's a \"图片\" $HOME `id` \\n\\\\ & <b>")),
      menus(application, directories) {
    createDirectories(directories.data);
    createDirectories(directories.configuration);
}

void MenuFixture::install(std::string_view program) const {
    const URL url = write("bin/" + std::string(program), "#!/bin/sh\n");
    fs::permissions(url.path(), fs::perms::owner_all);
}

void MenuFixture::installPythonPlugin(const std::string& fileManager) const {
    write("lib/x86_64-linux-gnu/" + fileManager + "/extensions-4/lib" + fileManager + "-python.so", "");
}

URL MenuFixture::write(std::string_view path, std::string_view contents) const {
    createDirectories((machine / path).deletingLastPathComponent());
    return machine.file(path, contents);
}

URL MenuFixture::makeApplication(std::string_view folder) const {
    // The path of the note goes in by the script's own place, so that no quoting is needed here.
    const URL url =
        write(std::string(folder) + "/Tarnwick.app/Contents/Linux/Tarnwick",
              "#!/bin/sh\ncd \"$(dirname \"$0\")/../../../..\" && printf '%s\\0' \"$@\" > received\n");
    fs::permissions(url.path(), fs::perms::owner_all);
    return url;
}

std::vector<std::string> MenuFixture::received() const {
    std::vector<std::string> arguments;
    if (!itemExists(machine / "received")) {
        return arguments;
    }
    std::string text = contents(machine / "received");
    for (std::size_t end = 0; (end = text.find('\0')) != std::string::npos; text.erase(0, end + 1)) {
        const std::string argument = text.substr(0, end);
        arguments.push_back(argument.starts_with("file:") ? URL::parse(argument).value_or(URL()).path()
                                                          : argument);
    }
    return arguments;
}

bool MenuFixture::isEnabled(FileManager fileManager) const {
    return menus.states().at(static_cast<std::size_t>(fileManager)).isEnabled;
}

std::map<std::string, std::string> MenuFixture::userFiles() const {
    std::map<std::string, std::string> found;
    for (auto item = fs::recursive_directory_iterator((machine / "home").path());
         item != fs::recursive_directory_iterator(); ++item) {
        if (item->path() == (directories.data.appending("Tarnwick")).path()) {
            item.disable_recursion_pending();
            continue;
        }
        const auto status = item->symlink_status();
        std::string text = std::to_string(static_cast<unsigned>(status.permissions())) + " ";
        if (fs::is_symlink(status)) {
            text += "-> " + fs::read_symlink(item->path()).string();
        } else if (fs::is_regular_file(status)) {
            text += contents(URL::file(item->path().native()));
        }
        found[item->path().string()] = text;
    }
    return found;
}

ProcessEnd MenuFixture::run(const std::vector<std::string>& variables,
                            const std::vector<std::string>& command) const {
    std::vector<std::string> arguments = {"-i"};
    arguments.insert(arguments.end(), variables.begin(), variables.end());
    arguments.insert(arguments.end(), command.begin(), command.end());
    const URL output = machine / "output";
    const URL errors = machine / "errors";
    removeFile(output);
    removeFile(errors);
    ChildProcess child(URL::file("/usr/bin/env"), arguments, createNewFile(output, 0600),
                       createNewFile(errors, 0600));
    if (child.wait(std::chrono::minutes(1)) != ChildProcess::Wake::exited) {
        throw std::runtime_error(command.front() + " did not end");
    }
    const int status = child.reap();
    return {.status = status, .output = contents(output), .errors = contents(errors)};
}

} // namespace tarnwick::test
