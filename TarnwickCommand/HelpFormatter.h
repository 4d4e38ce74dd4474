#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace tarnwick {

/// Formats help in Chinese; its wide characters take two columns each.
class HelpFormatter final : public CLI::Formatter {
public:
    HelpFormatter();

    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_subcommand(const CLI::App* subcommand) const override;
};

} // namespace tarnwick
