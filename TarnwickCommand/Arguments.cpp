#include "TarnwickCommand/Arguments.h"

#include "Foundation/Text.h"
#include "Process/Cage.h"
#include "TarnwickCommand/HelpFormatter.h"
#include "TarnwickCommand/JSONLine.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <utility>

namespace tarnwick {
namespace {

using Command = Invocation::Command;

struct CommandDescription {
    Command command;
    const char* name;
    const char* description;
    /// Null when the command takes none.
    const char* operands;
    const char* operandsDescription;
    bool hasJSON;
};

constexpr std::array<CommandDescription, 7> commands = {{
    {Command::compress, "compress", "压缩图片文件和文件夹中的图片", "路径",
     "图片文件或文件夹；文件夹会逐层查找，不进入隐藏文件夹和符号链接", true},
    {Command::inspect, "inspect", "查看图片的格式和结构", "文件", "图片文件", true},
    {Command::history, "history", "列出压缩记录，最新的在前", nullptr, nullptr, true},
    {Command::restore, "restore", "恢复原图", "记录或路径", "记录标识，或压缩过的文件", true},
    {Command::deleteRecords, "delete", "删除记录及其原图备份", "记录", "记录标识", false},
    {Command::clear, "clear", "清除所有记录及其原图备份", nullptr, nullptr, false},
    {Command::maintain, "maintain", "清理过期和超出容量的原图备份", nullptr, nullptr, false},
}};

constexpr auto optionGroup = "选项";

/// Goes before every word that is a value, and off again afterwards. The parser reads brackets, "++" and a
/// leading dash as syntax, but these are names of files like any other: without the mark, a folder "[2024]"
/// would be taken for another one, "2024".
constexpr char valueMark = '\x1f';

bool isCommandName(const std::string& word) {
    return std::any_of(commands.begin(), commands.end(),
                       [&](const CommandDescription& command) { return word == command.name; });
}

std::string marked(const std::string& word) {
    if (!word.starts_with('-')) {
        return isCommandName(word) ? word : valueMark + word;
    }
    const std::size_t equals = word.find('=');
    return equals == std::string::npos ? word
                                       : word.substr(0, equals + 1) + valueMark + word.substr(equals + 1);
}

/// Behind "--", every word is a value.
std::vector<std::string> marked(const std::vector<std::string>& words) {
    const auto end = std::find(words.begin(), words.end(), "--");
    std::vector<std::string> result;
    std::transform(words.begin(), end, std::back_inserter(result),
                   [](const std::string& word) { return marked(word); });
    if (end != words.end()) {
        std::transform(std::next(end), words.end(), std::back_inserter(result),
                       [](const std::string& word) { return valueMark + word; });
    }
    return result;
}

std::string unmarked(const std::string& word) {
    return word.starts_with(valueMark) ? word.substr(1) : word;
}

class Parser {
public:
    Parser() {
        app_.formatter(std::make_shared<HelpFormatter>());
        app_.fallthrough()->require_subcommand(1);
        addHelp(app_);
        app_.set_version_flag("--version", TARNWICK_VERSION,
                              "显示版本；加上 --json 还显示本机如何限制压缩组件")
            ->disable_flag_override()
            ->group(optionGroup);
        addDirectory("--tools", toolDirectory_, "压缩组件所在的文件夹");
        addDirectory("--store", store_, "存放记录和原图备份的文件夹");
        app_.footer("--tools 和 --store 写在子命令前后都可以；“--” 之后的都是参数。");
        for (const CommandDescription& command : commands) {
            add(command);
        }
        app_.footer("用 tarnwick 子命令 --help 查看各子命令的用法。");
    }

    std::variant<Invocation, Reply> parse(const std::vector<std::string>& arguments) {
        std::vector<std::string> words = marked(arguments);
        std::reverse(words.begin(), words.end());
        try {
            app_.parse(std::move(words));
        } catch (const CLI::CallForHelp&) {
            return Reply{app_.help()};
        } catch (const CLI::CallForVersion&) {
            return Reply{versionText()};
        } catch (const CLI::ParseError& error) {
            return wrongUsage(explanation(error));
        }
        return invocation();
    }

private:
    static void addHelp(CLI::App& app) {
        app.set_help_flag("-h,--help", "显示这份说明")->disable_flag_override()->group(optionGroup);
    }

    void addDirectory(const char* name, std::string& value, const char* description) {
        app_.add_option(name, value, description)->type_name("目录")->take_last()->group(optionGroup);
    }

    void addFlag(CLI::App& app, const char* name, bool& value, const char* description) {
        app.add_flag(name, value, description)->disable_flag_override()->group(optionGroup);
    }

    void add(const CommandDescription& command) {
        CLI::App* app = app_.add_subcommand(command.name, command.description);
        app->group("子命令");
        addHelp(*app);
        if (command.hasJSON) {
            addFlag(*app, "--json", invocation_.json, "每行输出一个 JSON 对象");
        }
        if (command.command == Command::compress) {
            addFlag(*app, "--again", invocation_.isAgain, "也压缩已是压缩结果的图片");
        }
        if (command.command == Command::clear) {
            addFlag(*app, "--yes", invocation_.isConfirmed, "不询问，直接清除");
        }
        if (command.operands != nullptr) {
            app->add_option(command.operands, invocation_.operands, command.operandsDescription)
                ->required()
                ->group(optionGroup);
        }
    }

    std::string versionText() const {
        const std::vector<std::string> rest = app_.remaining();
        if (!invocation_.json && std::find(rest.begin(), rest.end(), "--json") == rest.end()) {
            return "tarnwick " TARNWICK_VERSION "\n";
        }
        const Cage::Features cage = Cage::features();
        return jsonLine(
                   {{"version", TARNWICK_VERSION}, {"landlock", cage.landlock}, {"seccomp", cage.seccomp}}) +
               "\n";
    }

    const CommandDescription* chosen() const {
        for (const CommandDescription& command : commands) {
            if (app_.got_subcommand(command.name)) {
                return &command;
            }
        }
        return nullptr;
    }

    static Reply wrongUsage(const std::string& message) {
        return {"tarnwick：" + message + "\n用 tarnwick --help 查看用法。\n", ExitStatus::wrongUsage};
    }

    std::string explanation(const CLI::ParseError& error) const {
        const CommandDescription* command = chosen();
        if (const auto text = leftover(command)) {
            return *text;
        }
        switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
        case CLI::ExitCodes::RequiredError:
            return command == nullptr ? "缺少子命令" : fmt::format("缺少参数：{}", command->operands);
        case CLI::ExitCodes::ArgumentMismatch:
        case CLI::ExitCodes::ConversionError:
            return mismatch(error.what());
        default:
            return "无法理解这些参数";
        }
    }

    /// Tells of the words that nothing took, first of all of an unknown option: it is the likeliest cause of
    /// whatever else is wrong.
    std::optional<std::string> leftover(const CommandDescription* command) const {
        const std::vector<std::string> words = app_.remaining(true);
        const auto option = std::find_if(words.begin(), words.end(),
                                         [](const std::string& word) { return word.starts_with('-'); });
        if (option != words.end()) {
            return "未知选项：" + displayText(option->substr(0, option->find('=')));
        }
        if (words.empty()) {
            return std::nullopt;
        }
        return (command == nullptr ? "未知的子命令：" : "多余的参数：") +
               displayText(unmarked(words.front()));
    }

    /// The parser's message begins with the option's name, with or without its dashes.
    static std::string mismatch(std::string_view message) {
        std::string_view name = message.substr(0, message.find_first_of(" :"));
        name.remove_prefix(std::min(name.find_first_not_of('-'), name.size()));
        const bool takesValue = name == "tools" || name == "store";
        return fmt::format("选项 --{} {}", name, takesValue ? "缺少值" : "不带值");
    }

    /// A value that the mark is not on was meant for something else: an option swallowed the next one.
    static bool isValue(const std::string& word) {
        return word.size() > 1 && (word[0] == valueMark || isCommandName(word));
    }

    std::variant<Invocation, Reply> invocation() {
        invocation_.command = chosen()->command;
        for (const auto& [name, value, target] :
             {std::tuple("tools", &toolDirectory_, &invocation_.toolDirectory),
              std::tuple("store", &store_, &invocation_.store)}) {
            if (app_.count(std::string("--") + name) == 0) {
                continue;
            }
            if (!isValue(*value)) {
                return wrongUsage(mismatch(name));
            }
            *target = unmarked(*value);
        }
        std::transform(invocation_.operands.begin(), invocation_.operands.end(), invocation_.operands.begin(),
                       unmarked);
        return invocation_;
    }

    CLI::App app_{"把 PNG、JPG、GIF 和 HEIC 图片就地压缩；只有更小且质量合格的结果才会替换原图。",
                  "tarnwick"};
    Invocation invocation_;
    std::string toolDirectory_;
    std::string store_;
};

} // namespace

std::variant<Invocation, Reply> parseArguments(const std::vector<std::string>& arguments) {
    return Parser().parse(arguments);
}

} // namespace tarnwick
