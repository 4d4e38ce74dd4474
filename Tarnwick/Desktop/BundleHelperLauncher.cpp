#include "Tarnwick/Desktop/BundleHelperLauncher.h"

#include "Foundation/Directory.h"

#include <QDebug>
#include <QFile>
#include <QProcess>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace tarnwick {

BundleHelperLauncher::BundleHelperLauncher(URL helper) : helper_(std::move(helper)) {}

void BundleHelperLauncher::launch() {
    if (!isRegularFile(helper_) || isRunning()) {
        return;
    }
    QProcess helper;
    helper.setProgram(QFile::decodeName(helper_.c_str()));
    helper.setArguments({"--maintain-backups"});
    helper.setStandardInputFile(QProcess::nullDevice());
    if (!helper.startDetached(&process_)) {
        qWarning().noquote() << "Tarnwick 备份清理程序启动失败：" + helper.errorString();
    }
}

bool BundleHelperLauncher::isRunning() const {
    // The number may belong to another program by now.
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/" + std::to_string(process_) + "/exe", error);
    return !error && std::filesystem::equivalent(program, helper_.path(), error);
}

} // namespace tarnwick
