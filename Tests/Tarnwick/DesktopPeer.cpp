// A process without an application object that posts a notification, for DesktopTests.

#include "Tarnwick/Desktop/DBusSignals.h"

int main() {
    tarnwick::postNotification(tarnwick::NotificationName::historyDidChange);
}
