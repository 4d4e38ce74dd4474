#include "Foundation/CompressionError.h"
#include "Foundation/Environment.h"
#include "Process/Signals.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "TarnwickBackground/BackupKeeper.h"

#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace tarnwick;

constexpr int misuse = 2;
constexpr auto help = "用法：TarnwickBackground --maintain-backups\n"
                      "\n"
                      "清理过期的原图备份，直到没有备份为止。由 Tarnwick 启动，通常无需手动运行。\n"
                      "\n"
                      "  --maintain-backups  清理备份\n"
                      "  --version           显示版本\n"
                      "  --help              显示帮助\n";

int maintainBackups(int argc, char** argv) {
    // An inherited descriptor, such as a pipe, would stay open for hours.
    ::closefrom(STDERR_FILENO + 1);
    installSignalHandlers();
    const URL lockFile = helperLockFile();
    auto lock = FileLock::tryAcquire(lockFile);
    if (!lock) {
        return EXIT_SUCCESS;
    }
    const QCoreApplication application(argc, argv);
    QSocketNotifier termination(signalCancellation().descriptor(), QSocketNotifier::Read);
    QObject::connect(&termination, &QSocketNotifier::activated, &application, [&termination] {
        termination.setEnabled(false);
        QCoreApplication::exit(EXIT_SUCCESS);
    });
    SystemClock clock;
    const BackupKeeper keeper(UndoStore(), lockFile, std::move(*lock), clock,
                              [](int status) { QCoreApplication::exit(status); });
    return QCoreApplication::exec();
}

int run(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (arguments == std::vector<std::string>{"--maintain-backups"}) {
        return maintainBackups(argc, argv);
    }
    if (arguments == std::vector<std::string>{"--version"}) {
        std::cout << "TarnwickBackground " TARNWICK_VERSION "\n";
        return EXIT_SUCCESS;
    }
    if (arguments == std::vector<std::string>{"--help"}) {
        std::cout << help;
        return EXIT_SUCCESS;
    }
    std::cerr << help;
    return misuse;
}

} // namespace

int main(int argc, char** argv) {
    prepareEnvironment();
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << errorDescription(error) << '\n';
        return EXIT_FAILURE;
    }
}
