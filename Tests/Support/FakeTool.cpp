// Replaces every external tool in tests. Its name says which one. Its script is the file "<name>.script" in
// its folder, "<name>.script.<N>" for its N-th run, or "<name>.scriptfor.<word>" for runs with an argument
// that contains the word. Each line is a command with its words, percent-encoded. Every run is appended to
// "runs.log" in the same form.

#include "Support/Attempts.h"
#include "Support/EscapedWords.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;
using tarnwick::test::escaped;
using tarnwick::test::unescaped;

std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("cannot read " + file.native());
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

void write(const fs::path& file, const std::string& text, std::ios::openmode mode) {
    std::ofstream stream(file, std::ios::binary | mode);
    stream << text << std::flush;
    if (!stream) {
        throw std::runtime_error("cannot write " + file.native());
    }
}

[[noreturn]] void hang() {
    while (true) {
        ::pause();
    }
}

class Tool {
public:
    Tool(const fs::path& program, Words arguments)
        : folder_(program.parent_path()), name_(program.filename()), arguments_(std::move(arguments)) {
        sigemptyset(&terminate_);
        sigaddset(&terminate_, SIGTERM);
    }

    int run() {
        std::istringstream script(scriptOfRun(logRun()));
        for (std::string line; std::getline(script, line);) {
            std::istringstream stream(line);
            Words words(std::istream_iterator<std::string>(stream), {});
            std::transform(words.begin(), words.end(), words.begin(), unescaped);
            obey(words);
        }
        return status_;
    }

private:
    /// Uses a single write, so the lines of concurrent tools do not mix.
    static void appendLine(const fs::path& path, std::string line) {
        line += "\n";
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
        if (file < 0 || ::write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
            throw std::runtime_error("cannot log");
        }
        ::close(file);
    }

    /// Logs this run. Returns its number.
    int logRun() const {
        std::string line = escaped(name_);
        for (const std::string& argument : arguments_) {
            line += " " + escaped(argument);
        }
        const fs::path log = folder_ / "runs.log";
        appendLine(log, line);
        std::istringstream lines(contents(log));
        int number = 0;
        for (std::string logged; std::getline(lines, logged);) {
            number += logged.substr(0, logged.find(' ')) == escaped(name_) ? 1 : 0;
        }
        return number;
    }

    bool isGiven(const std::string& word) const {
        return std::ranges::any_of(
            arguments_, [&](const auto& argument) { return argument.find(word) != std::string::npos; });
    }

    std::string scriptOfRun(int number) const {
        const std::string prefix = name_ + ".scriptfor.";
        for (const fs::directory_entry& entry : fs::directory_iterator(folder_)) {
            const std::string file = entry.path().filename();
            if (file.starts_with(prefix) && isGiven(unescaped(file.substr(prefix.size())))) {
                return contents(entry.path());
            }
        }
        const fs::path all = folder_ / (name_ + ".script");
        const fs::path one = all.native() + "." + std::to_string(number);
        return contents(fs::exists(one) ? one : all);
    }

    std::string argumentAfter(const std::string& option) const {
        const auto found = std::find(arguments_.begin(), arguments_.end(), option);
        return found == arguments_.end() ? "" : *std::next(found);
    }

    std::string outputPath() const {
        if (name_ == "cjpegli") {
            return arguments_.at(1);
        }
        const std::map<std::string, std::string> options = {
            {"pngquant", "--output"}, {"oxipng", "--out"}, {"gifsicle", "-o"}};
        return argumentAfter(options.at(name_));
    }

    void obey(const Words& words) {
        const std::string& command = words.at(0);
        if (!obeyFiles(command, words) && !obeyProcess(command, words) && !obeyReport(command, words)) {
            throw std::runtime_error("unknown command " + command);
        }
    }

    bool obeyFiles(const std::string& command, const Words& words) const {
        if (command == "output") {
            write(outputPath(), contents(words.at(1)), std::ios::trunc);
        } else if (command == "output-text") {
            write(outputPath(), words.at(1), std::ios::trunc);
        } else if (command == "append") {
            write(words.at(1), words.at(2), std::ios::app);
        } else if (command == "trace") {
            // The event, the parent process and the canonical path of the input of pngquant or oxipng.
            const std::string input = fs::canonical(arguments_.back()).native();
            appendLine(words.at(1), words.at(2) + " " + std::to_string(::getppid()) + " " + escaped(input));
        } else if (command == "remove") {
            fs::remove_all(words.at(1));
        } else {
            return false;
        }
        return true;
    }

    bool obeyProcess(const std::string& command, const Words& words) {
        if (command == "status") {
            status_ = std::stoi(words.at(1));
        } else if (command == "die") {
            static_cast<void>(std::raise(std::stoi(words.at(1))));
        } else if (command == "hang") {
            hang();
        } else if (command == "ignore-term") {
            sigprocmask(SIG_BLOCK, &terminate_, nullptr);
        } else if (command == "await-term") {
            // After "ignore-term".
            int signal = 0;
            sigwait(&terminate_, &signal);
            appendLine(words.at(1), "term");
        } else if (command == "log-pid") {
            appendLine(words.at(1), std::to_string(::getpid()));
        } else if (command == "wait-for") {
            while (!fs::exists(words.at(1))) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        } else if (command == "pause") {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(words.at(1))));
        } else if (command == "spawn-child") {
            spawnChild(words.at(1));
        } else if (command == "attempt") {
            if (tarnwick::test::attempt(words.at(1), words.at(2)) < 0) {
                throw std::system_error(errno, std::generic_category(), words.at(1));
            }
            std::cout << "done";
        } else {
            return false;
        }
        return true;
    }

    /// Starts a child that hangs, and writes its process ID to the file.
    static void spawnChild(const fs::path& file) {
        const pid_t child = ::fork();
        if (child == 0) {
            static_cast<void>(std::signal(SIGTERM, SIG_IGN));
            hang();
        }
        write(file, std::to_string(child), std::ios::trunc);
    }

    static bool obeyReport(const std::string& command, const Words& words) {
        if (command == "print") {
            std::cout << words.at(1) << std::flush;
        } else if (command == "error") {
            std::cerr << words.at(1) << std::flush;
        } else if (command == "flood") {
            auto& stream = words.at(1) == "stdout" ? std::cout : std::cerr;
            stream << std::string(std::stoul(words.at(2)), words.at(3).at(0)) << std::flush;
        } else if (command == "report-input") {
            std::cout << std::string(std::istreambuf_iterator<char>(std::cin), {});
        } else if (command == "report-variable") {
            const char* value = std::getenv(words.at(1).c_str());
            std::cout << (value == nullptr ? "unset" : value) << "\n";
        } else if (command == "report-descriptors") {
            reportDescriptors();
        } else if (command == "report-signals") {
            reportSignals();
        } else {
            return false;
        }
        return true;
    }

    static void reportDescriptors() {
        for (int file = 0; file < 1024; ++file) {
            if (::fcntl(file, F_GETFD) >= 0) {
                std::cout << file << " ";
            }
        }
    }

    /// The signals that are ignored or blocked.
    static void reportSignals() {
        sigset_t blocked;
        sigprocmask(SIG_BLOCK, nullptr, &blocked);
        for (int number = 1; number < NSIG; ++number) {
            struct sigaction action {};
            const bool isIgnored = sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
            if (isIgnored || sigismember(&blocked, number) == 1) {
                std::cout << number << " ";
            }
        }
    }

    fs::path folder_;
    std::string name_;
    Words arguments_;
    int status_ = 0;
    sigset_t terminate_{};
};

} // namespace

int main(int count, char** words) {
    constexpr int brokenScript = 99;
    // No tool outlives its test for long.
    ::alarm(600);
    try {
        return Tool(words[0], Words(words + 1, words + count)).run();
    } catch (const std::exception& error) {
        std::cerr << "fake tool: " << error.what();
        return brokenScript;
    }
}
