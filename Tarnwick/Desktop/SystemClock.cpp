#include "Tarnwick/Desktop/SystemClock.h"

#include <QTimer>
#include <algorithm>
#include <chrono>
#include <utility>

namespace tarnwick {

Date SystemClock::now() const {
    return Date::now();
}

Registration SystemClock::startTimer(double seconds, std::function<void()> handler) {
    // QTimer counts milliseconds in an int.
    constexpr double aDay = 86'400;
    const std::chrono::duration<double> wait(std::clamp(seconds, 0.0, aDay));
    auto* timer = new QTimer;
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, timer, std::move(handler));
    timer->start(std::chrono::ceil<std::chrono::milliseconds>(wait));
    return Registration([timer] { delete timer; });
}

} // namespace tarnwick
