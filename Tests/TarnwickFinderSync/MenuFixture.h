#pragma once

#include "Support/TemporaryFolder.h"
#include "TarnwickFinderSync/FileManagerMenus.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test {

struct ProcessEnd {
    int status = -1;
    std::string output;
    std::string errors;
};

/// A machine of its own: a home, system folders, and an application that notes its arguments. Its path holds
/// what is special anywhere but "%".
class MenuFixture : public testing::Test {
protected:
    using FileManager = FileManagerMenus::FileManager;

    MenuFixture();

    void install(std::string_view program) const;
    void installPythonPlugin(const std::string& fileManager) const;
    /// Makes the folders above it too.
    URL write(std::string_view path, std::string_view contents) const;
    URL makeApplication(std::string_view folder) const;
    /// The arguments that the application got, in order; file URIs as paths.
    std::vector<std::string> received() const;

    bool isEnabled(FileManager fileManager) const;
    /// Every item in the user's two folders but our notes: path, and the mode with what it holds.
    std::map<std::string, std::string> userFiles() const;
    /// With nothing in the environment but `variables` ("NAME=value").
    ProcessEnd run(const std::vector<std::string>& variables, const std::vector<std::string>& command) const;

    TemporaryFolder machine;
    UserDirectories directories;
    URL application;
    FileManagerMenus menus;
};

} // namespace tarnwick::test
