#include "TarnwickCommand/HelpFormatter.h"

#include "TarnwickCommand/TerminalText.h"

#include <fmt/format.h>

namespace tarnwick {
namespace {

constexpr std::size_t leftColumn = 20;

std::string line(const std::string& left, const std::string& right) {
    return fmt::format("  {}  {}\n", TerminalText::padded(left, leftColumn), right);
}

} // namespace

HelpFormatter::HelpFormatter() {
    label("Usage", "用法");
    label("OPTIONS", "选项");
    label("SUBCOMMAND", "子命令");
    label("Positionals", "参数");
    label("POSITIONALS", "参数");
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
    std::string left = make_option_name(option, isPositional);
    if (isPositional && option->get_expected_max() > 1) {
        left += "...";
    } else if (!isPositional && option->get_expected_max() > 0) {
        left += " " + option->get_type_name();
    }
    return line(left, option->get_description());
}

std::string HelpFormatter::make_subcommand(const CLI::App* subcommand) const {
    return line(subcommand->get_name(), subcommand->get_description());
}

} // namespace tarnwick
