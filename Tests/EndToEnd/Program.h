#pragma once

#include "Foundation/URL.h"
#include "Support/TemporaryFolder.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace tarnwick::test {

/// The built `tarnwick`, with its own tools and a store of its own for the test.
class Program {
public:
    struct Run {
        int status = 0;
        std::string output;
        std::string errors;
        /// The output's lines as JSON, for runs with --json.
        std::vector<nlohmann::json> lines() const;
    };

    /// Runs it with these arguments and waits for its end.
    Run run(const std::vector<std::string>& arguments) const;

private:
    TemporaryFolder folder_;
};

} // namespace tarnwick::test
