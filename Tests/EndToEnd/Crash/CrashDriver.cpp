// Carries out one operation and kills itself at its N-th changing call.
//   crash-driver TRACE N before|after compress|restore FILE STORE TOOLS
// With N = 0 it is not killed. Each call is a line of TRACE: its name, path, destination and result,
// separated by tabs; the result is missing when the program was killed before it.

#include "Engine/CompressionEngine.h"
#include "Foundation/FileDescriptor.h"
#include "Support/SystemCalls.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <stdexcept>

namespace tarnwick::test {
namespace {

class Killer : public SystemCallObserver {
public:
    Killer(const std::string& trace, int number, bool isBefore)
        : trace_(::open(trace.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666)), number_(number),
          isBefore_(isBefore) {}

    int before(const SystemCall& call) override {
        ++count_;
        record(call.name + "\t" + call.path + "\t" + call.destination + "\t");
        killAt(true);
        return 0;
    }
    void after(const SystemCall& /*call*/, bool succeeded) override {
        record(succeeded ? "done\n" : "failed\n");
        killAt(false);
    }

private:
    void record(const std::string& text) const {
        if (::write(trace_.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            throw std::runtime_error("cannot write the trace");
        }
    }
    void killAt(bool isBefore) const {
        if (count_ == number_ && isBefore == isBefore_) {
            ::kill(::getpid(), SIGKILL);
        }
    }

    FileDescriptor trace_;
    int number_;
    bool isBefore_;
    int count_ = 0;
};

void operate(const std::vector<std::string>& words) {
    const UndoStore store(URL::file(words.at(2)));
    if (words.at(0) == "restore") {
        store.restore(store.readRecords().at(0));
        return;
    }
    const CompressionEngine engine(URL::file(words.at(3)), store, 60, 70, 70);
    const auto result = engine.compress(URL::file(words.at(1)), UUID::random());
    if (result.outcome == CompressionOutcome::skipped) {
        throw std::runtime_error("nothing was compressed");
    }
}

} // namespace
} // namespace tarnwick::test

int main(int count, char** arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + count);
    try {
        tarnwick::test::Killer killer(words.at(0), std::stoi(words.at(1)), words.at(2) == "before");
        const tarnwick::test::Observation observation(killer);
        tarnwick::test::operate({words.begin() + 3, words.end()});
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "crash driver: " << error.what() << "\n";
        return 1;
    }
}
