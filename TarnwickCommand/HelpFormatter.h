#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace tarnwick {

/// Help in Chinese, whose columns line up although its characters take two.
class HelpFormatter final : public CLI::Formatter {
public:
    HelpFormatter();

    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_subcommand(const CLI::App* subcommand) const override;
};

} // namespace tarnwick
