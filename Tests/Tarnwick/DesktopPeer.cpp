// Another process of the desktop, as the tests of Tarnwick/Desktop need it.
//
//   desktop-peer post                 posts historyDidChange without any application object
//   desktop-peer observe              prints "ready", and "heard" at the first undoDidChange, and ends
//   desktop-peer --maintain-backups   unless the helper's lock is held: takes it, writes its arguments to
//   "<itself>.log", and ends when "<itself>.stop" is there

#include "Foundation/FileLock.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "Tarnwick/Desktop/DBusSignals.h"

#include <QCoreApplication>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

namespace {

using namespace tarnwick;

int observe(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    DBusNotifications notifications;
    const Registration observation = notifications.observe(NotificationName::undoDidChange, [] {
        std::cout << "heard" << std::endl;
        QCoreApplication::quit();
    });
    std::cout << "ready" << std::endl;
    return QCoreApplication::exec();
}

int maintain(const std::string& itself, const std::string& argument) {
    const auto lock = FileLock::tryAcquire(helperLockFile());
    if (!lock) {
        return 0;
    }
    std::ofstream(itself + ".log", std::ios::app) << argument << std::endl;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!std::filesystem::exists(itself + ".stop") && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::string command = argc == 2 ? argv[1] : "";
    if (command == "post") {
        postNotification(NotificationName::historyDidChange);
        return 0;
    }
    return command == "observe" ? observe(argc, argv) : maintain(argv[0], command);
}
