#include "EndToEnd/Program.h"

#include "Foundation/FileDescriptor.h"
#include "Process/ChildProcess.h"

#include <sstream>
#include <stdexcept>

namespace tarnwick::test {

std::vector<nlohmann::json> Program::Run::lines() const {
    std::vector<nlohmann::json> objects;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) {
        objects.push_back(nlohmann::json::parse(line));
    }
    return objects;
}

Program::Run Program::run(const std::vector<std::string>& arguments) const {
    std::vector<std::string> all = {"--store", (folder_ / "store").path()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const URL output = folder_ / "output";
    const URL errors = folder_ / "errors";
    removeFile(output);
    removeFile(errors);
    ChildProcess child(URL::file(TARNWICK_EXECUTABLE), all, createNewFile(output, 0600),
                       createNewFile(errors, 0600));
    if (child.wait(std::chrono::minutes(9)) != ChildProcess::Wake::exited) {
        throw std::runtime_error("tarnwick did not end");
    }
    const int status = child.reap();
    return {.status = status, .output = contents(output), .errors = contents(errors)};
}

} // namespace tarnwick::test
