#include "Tarnwick/Desktop/BundleHelperLauncher.h"

#include "Foundation/Directory.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"

#include <QDebug>
#include <QFile>
#include <QProcess>
#include <utility>

namespace tarnwick {
namespace {

/// A helper that is about to end gives its lock up before it looks for backups one last time. So one that
/// still has it will find whatever its starter has just put into the store.
bool isAtWork() {
    try {
        return FileLock::isHeld(helperLockFile());
    } catch (const FileSystemError&) {
        // The helper itself can tell better what is wrong.
        return false;
    }
}

} // namespace

URL helperLockFile() {
    return applicationSupportDirectory().appending("Tarnwick/Background.lock");
}

BundleHelperLauncher::BundleHelperLauncher(URL helper) : helper_(std::move(helper)) {}

void BundleHelperLauncher::launch() {
    if (!isRegularFile(helper_) || isAtWork()) {
        return;
    }
    QProcess helper;
    helper.setProgram(QFile::decodeName(helper_.c_str()));
    helper.setArguments({"--maintain-backups"});
    // Whoever reads this program's output waits for its end, and a current folder keeps its disk in use.
    helper.setStandardInputFile(QProcess::nullDevice());
    helper.setStandardOutputFile(QProcess::nullDevice());
    helper.setStandardErrorFile(QProcess::nullDevice());
    helper.setWorkingDirectory("/");
    if (!helper.startDetached()) {
        qWarning().noquote() << "Tarnwick 备份清理程序启动失败：" + helper.errorString();
    }
}

} // namespace tarnwick
