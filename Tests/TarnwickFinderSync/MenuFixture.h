#pragma once

#include "Support/TemporaryFolder.h"
#include "TarnwickFinderSync/FileManagerMenus.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tarnwick::test {
namespace fs = std::filesystem;

/// A home, system folders, and an application that records its arguments. The application's path contains
/// every character that a format of the entries treats specially, except "%".
class MenuFixture : public testing::Test {
protected:
    using FileManager = FileManagerMenus::FileManager;

    MenuFixture() {
        createDirectories(directories.data);
        createDirectories(directories.configuration);
    }

    URL write(const std::string& path, std::string_view contents, int mode = 0644) const {
        createDirectories((machine / path).deletingLastPathComponent());
        URL url = machine.file(path, contents);
        fs::permissions(url.path(), static_cast<fs::perms>(mode));
        return url;
    }

    void install(const std::string& program) const { write("bin/" + program, "#!/bin/sh\n", 0755); }

    void installPythonPlugin(const std::string& fileManager) const {
        write("lib/x86_64-linux-gnu/" + fileManager + "/extensions-4/lib" + fileManager + "-python.so", "");
    }

    URL makeApplication(const std::string& folder) const {
        return write(folder + "/Tarnwick.app/Contents/Linux/Tarnwick",
                     "#!/bin/sh\ncd \"$(dirname \"$0\")/../../../..\" && printf '%s\\0' \"$@\" > received\n",
                     0755);
    }

    /// The names of the file managers whose entries start the application, each with a space after it.
    static std::string enabled(const FileManagerMenus& menus) {
        std::string names;
        for (const auto& state : menus.states()) {
            names += state.isEnabled ? name(state.fileManager) + " " : "";
        }
        return names;
    }

    /// Every item in the home except our own records: its path, its mode and what it contains.
    std::map<std::string, std::string> userFiles() const {
        std::map<std::string, std::string> found;
        for (const auto& item : fs::recursive_directory_iterator((machine / "home").path())) {
            const auto status = item.symlink_status();
            std::string& text = found[item.path().string()];
            text = std::to_string(static_cast<unsigned>(status.permissions())) +
                   (fs::is_symlink(status) ? " -> " + fs::read_symlink(item.path()).string() : "") +
                   (fs::is_regular_file(status) ? " " + contents(URL::file(item.path().native())) : "");
        }
        const std::string records = directories.data.appending("Tarnwick").path();
        std::erase_if(found, [&](const auto& item) { return item.first.starts_with(records); });
        return found;
    }

    TemporaryFolder machine;
    UserDirectories directories{.data = machine / "home/.local/share",
                                .configuration = machine / "home/.config",
                                .systemConfiguration = {machine / "etc/xdg"},
                                .executables = {machine / "bin"},
                                .libraries = {machine / "lib"}};
    const std::string applicationFolder = "It's a \"图片\" $HOME `id` \\n\\\\ & <b>";
    URL application = makeApplication(applicationFolder);
    FileManagerMenus menus{application, directories};
};

} // namespace tarnwick::test
