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

/// A helper that is about to exit releases its lock before it looks for backups one last time. So a helper
/// that holds it will find a backup that exists now.
bool isRunning() {
    try {
        return FileLock::isHeld(helperLockFile());
    } catch (const FileSystemError&) {
        // The helper will report what is wrong.
        return false;
    }
}

} // namespace

URL helperLockFile() {
    return applicationSupportDirectory().appending("Tarnwick/Background.lock");
}

BundleHelperLauncher::BundleHelperLauncher(URL helper) : helper_(std::move(helper)) {}

void BundleHelperLauncher::launch() {
    if (!isRegularFile(helper_) || isRunning()) {
        return;
    }
    QProcess helper;
    helper.setProgram(QFile::decodeName(helper_.c_str()));
    helper.setArguments({"--maintain-backups"});
    // A reader of this program's output waits until all holders closed it; a current folder keeps its disk
    // mounted.
    helper.setStandardInputFile(QProcess::nullDevice());
    helper.setStandardOutputFile(QProcess::nullDevice());
    helper.setStandardErrorFile(QProcess::nullDevice());
    helper.setWorkingDirectory("/");
    if (!helper.startDetached()) {
        qWarning().noquote() << "Tarnwick 备份清理程序启动失败：" + helper.errorString();
    }
}

} // namespace tarnwick
