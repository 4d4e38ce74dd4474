// Carries out one operation as the programs do, and interrupts itself at its N-th system call.
//   interruption-driver TRACE N HOW OPERATION FILE STORE TOOLS
// HOW is "kill-before" or "kill-after" (a call that changes something), "stop" (before any call), the
// errno value with which the call fails, or "memory": then the N-th allocation of a page or more fails. With
// N = 0 it is not interrupted, and "list" puts all calls into TRACE. Every process stops itself before it
// waits for a lock. Each changing call, and the failing one, is a line of TRACE: its name, path, destination
// and result, separated by tabs; the result is missing when the program was killed before it.

#include "Engine/CompressionEngine.h"
#include "FailingAllocation.h"
#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileDescriptor.h"
#include "History/Leftovers.h"
#include "Scheduling/CompressionQueue.h"
#include "Scheduling/ExecutionPermit.h"
#include "Support/SystemCalls.h"
#include "TarnwickFinderSync/FileManagerMenus.h"
#include "TarnwickFinderSync/Registrar.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>

namespace tarnwick::test {
namespace {

class Interrupter : public SystemCallObserver {
public:
    Interrupter(const std::string& trace, int number, std::string how)
        : trace_(::open(trace.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666)), number_(number),
          how_(std::move(how)) {}

    bool seesReading() const override { return !how_.starts_with("kill"); }
    int before(const SystemCall& call) override {
        const bool isDue = ++count_ == number_;
        const bool isFailing = isDue && seesReading() && how_ != "stop";
        if (!seesReading() || isFailing || how_ == "list") {
            record(call.name + "\t" + call.path + "\t" + call.destination + "\t" +
                   (seesReading() ? "\n" : ""));
        }
        if (isDue && how_ == "kill-before") {
            ::kill(::getpid(), SIGKILL);
        }
        if (isDue && how_ == "stop") {
            ::kill(::getpid(), SIGSTOP);
        }
        return isFailing ? std::stoi(how_) : 0;
    }
    void after(const SystemCall& /*call*/, bool succeeded) override {
        if (seesReading()) {
            return;
        }
        record(succeeded ? "done\n" : "failed\n");
        if (count_ == number_ && how_ == "kill-after") {
            ::kill(::getpid(), SIGKILL);
        }
    }
    void waits() override { ::kill(::getpid(), SIGSTOP); }

private:
    void record(const std::string& text) const {
        if (::write(trace_.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            throw std::runtime_error("cannot write the trace");
        }
    }

    FileDescriptor trace_;
    int number_;
    std::string how_;
    int count_ = 0;
};

struct Work {
    URL file;
    UndoStore store;
    URL tools;
};

ExecutionPermit permitFor(const URL& file) {
    return {applicationSupportDirectory().appending("Tarnwick/CompressionLocks"),
            CompressionQueue::fileIdentity(file), CompressionQueue::maximumConcurrentTasks};
}

void compress(const Work& work) {
    const ExecutionPermit permit = permitFor(work.file);
    const CompressionEngine engine(work.tools, work.store, 60, 70, 70);
    if (engine.compress(work.file, UUID::random()).outcome == CompressionOutcome::skipped) {
        throw CompressionError::fileOperation("skipped");
    }
}

void forEachRecord(const Work& work, const std::function<void(const UndoRecord&)>& operation) {
    for (const UndoRecord& record : work.store.readRecords()) {
        if (!UndoStore::isInWork(record)) {
            const ExecutionPermit permit = permitFor(record.replacementURL());
            operation(record);
        }
    }
}

void maintain(const Work& work) {
    removeLeftovers(work.store);
    work.store.cleanup(UndoStore::backupRetention, UndoStore::backupBudget, Date::now());
}

void setThunarMenu(bool isEnabled) {
    const FileManagerMenus menus(URL::file("/opt/tarnwick"), UserDirectories::fromEnvironment());
    menus.setEnabled(FileManagerMenus::FileManager::thunar, isEnabled);
}

/// What the application has `pluginkit` do at its start.
void registerExtension(const Work& /*work*/) {
    const UserDirectories directories = UserDirectories::fromEnvironment();
    const std::string bundle = directories.data.appending("app/PlugIns/menus.appex").path();
    if (runRegistrar({"-a", bundle}, directories) != 0 ||
        runRegistrar({"-e", "use", "-i", "app.menus"}, directories) != 0) {
        throw CompressionError::fileOperation("failed");
    }
}

const std::map<std::string, std::function<void(const Work&)>> operations = {
    {"compress", compress},
    {"restore",
     [](const Work& work) {
         forEachRecord(work, [&](const UndoRecord& record) { work.store.restore(record); });
     }},
    {"delete",
     [](const Work& work) {
         forEachRecord(work, [&](const UndoRecord& record) { work.store.forget(record); });
     }},
    {"clear", [](const Work& work) { work.store.removeAll(); }},
    {"maintain", maintain},
    {"register", registerExtension},
    {"enable", [](const Work& /*work*/) { setThunarMenu(true); }},
    {"disable", [](const Work& /*work*/) { setThunarMenu(false); }}};

} // namespace
} // namespace tarnwick::test

int main(int count, char** arguments) {
    using namespace tarnwick::test;
    const std::vector<std::string> words(arguments + 1, arguments + count);
    try {
        const int number = std::stoi(words.at(1));
        const bool isOfMemory = words.at(2) == "memory";
        Interrupter interrupter(words.at(0), isOfMemory ? 0 : number, words.at(2));
        if (isOfMemory) {
            failAllocation(words.at(0), number);
        }
        const Observation observation(interrupter);
        operations.at(words.at(3))({tarnwick::URL::file(words.at(4)),
                                    tarnwick::UndoStore(tarnwick::URL::file(words.at(5))),
                                    tarnwick::URL::file(words.at(6))});
        return 0;
    } catch (const std::exception& error) {
        std::cerr << tarnwick::errorDescription(error);
        return 1;
    }
}
